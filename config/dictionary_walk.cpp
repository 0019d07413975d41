// Reading a dictionary slot by slot, in the order the slots hold entries.

#include "dictionary_walk.h"

#include <errno.h>
#include <string.h>

namespace orba::ini {

void DictDump(const dictionary* d, FILE* out) {
  if (d == nullptr || out == nullptr) return;
  if (d->n < 1) {
    fprintf(out, "empty dictionary\n");
    return;
  }
  for (int64_t i = 0; i < d->size; ++i) {
    if (d->key[i] == nullptr) continue;
    fprintf(out, "%20s\t[%s]\n", d->key[i], d->val[i] != nullptr ? d->val[i] : "UNDEF");
  }
}

int DictSlotEntry(const dictionary* d, char* key_out, int key_len, char* val_out, int val_len,
                  int index) {
  // Missing buffers or negative lengths would be written through: refuse them like a missing
  // dictionary rather than crash.
  if (d == nullptr || key_out == nullptr || val_out == nullptr || key_len < 0 || val_len < 0) {
    return -1;
  }
  // A negative index is as far outside the table as one past its end.
  if (index < 0 || index >= d->size) return -ENOENT;
  if (d->key[index] == nullptr || d->val[index] == nullptr) return -ESRCH;
  // Text that fills the length is cut there; each buffer holds its length plus the terminator.
  strncpy(key_out, d->key[index], static_cast<size_t>(key_len));
  key_out[key_len] = '\0';
  strncpy(val_out, d->val[index], static_cast<size_t>(val_len));
  val_out[val_len] = '\0';
  return 0;
}

}  // namespace orba::ini
