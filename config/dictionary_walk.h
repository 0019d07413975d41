#ifndef ORBA_CONFIG_DICTIONARY_WALK_H
#define ORBA_CONFIG_DICTIONARY_WALK_H

#include <stdio.h>

#include <orbafactory/config.h>

namespace orba::ini {

void DictDump(const dictionary* d, FILE* out);
int DictSlotEntry(const dictionary* d, char* key_out, int key_len, char* val_out, int val_len,
                  int index);

}  // namespace orba::ini

#endif
