#ifndef ORBA_TESTS_PERSIST_FAULT_INJECTION_H
#define ORBA_TESTS_PERSIST_FAULT_INJECTION_H

#include <stddef.h>

#include <string>

namespace orba::test {

// Power loss in the middle of a write. This test binary defines pwrite() itself, so the
// library's writes come here first. Once armed, writes to one file go through until `budget`
// bytes have been written in total; the write that crosses the budget writes only the bytes
// that still fit and the process dies on the spot (_exit), as if the power had gone.
constexpr int kCutExitStatus = 86;

void ArmWriteCut(const std::string& file, long budget);
// Bytes written to the armed file so far, shared with the parent of a forked child.
long BytesWrittenToArmedFile();
void ResetWriteCounter();

}  // namespace orba::test

#endif
