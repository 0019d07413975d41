#ifndef ORBA_CONFIG_INIPARSER_ERROR_H
#define ORBA_CONFIG_INIPARSER_ERROR_H

namespace orba::ini {

using ErrorCallback = int (*)(const char*, ...);

// Null restores the default reporter (standard error).
void SetErrorCallback(ErrorCallback callback);
// The reporter every parser message goes to; call it with the message format and arguments.
ErrorCallback CurrentErrorCallback();

}  // namespace orba::ini

#endif
