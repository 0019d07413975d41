#ifndef ORBA_CONFIG_DICTIONARY_REGISTRY_H
#define ORBA_CONFIG_DICTIONARY_REGISTRY_H

#include <orbafactory/config.h>

namespace orba::ini {

// Which dictionaries this library made. Another iniparser in the same process may hand us its
// own: same fields, but none of the private state our records carry after them, so nothing
// may be read past the fields unless the dictionary is one of ours.
bool RegisterDictionary(const dictionary* d);  // false when memory is short
void UnregisterDictionary(const dictionary* d);
bool IsOwnDictionary(const dictionary* d);

}  // namespace orba::ini

#endif
