#ifndef ORBA_SYSACCESS_SHELL_METACHARS_H
#define ORBA_SYSACCESS_SHELL_METACHARS_H

namespace orba::sysaccess {

// What lets text handed to "sh -c" do more than run one command with plain words: a second
// command (; & | and a line feed), a substitution ($ `), a redirection (< >) or a subshell
// (( )). Text the library builds into a command line from a caller's words must contain none.
inline constexpr char kShellMetacharacters[] = ";|&$`<>()\n";

}  // namespace orba::sysaccess

#endif
