#include "sim_completion.h"

#include "profile_catalog.h"

namespace orba::sim {

std::string SimCompletionScript() {
  std::string profiles;
  for (const ProfileEntry& p : KnownProfiles()) profiles += (profiles.empty() ? "" : " ") + p.name;
  // Profile names are file names without spaces or quotes, so they go into the list as words.
  return "# bash completion for orbafactory-sim, written by `orbafactory-sim completion bash`.\n\n"
         "_orbafactory_sim() {\n"
         "  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}\n"
         "  COMPREPLY=()\n"
         "  case $prev in\n"
         "    --root) COMPREPLY=($(compgen -d -- \"$cur\")); return 0 ;;\n"
         "    --profile) COMPREPLY=($(compgen -W '" + profiles + "' -- \"$cur\")); return 0 ;;\n"
         "  esac\n"
         "  if ((COMP_CWORD == 1)); then\n"
         "    COMPREPLY=($(compgen -W 'init start stop status env setprop getprop ps logcat list "
         "profiles knobs completion --version --help' -- \"$cur\"))\n"
         "  elif [[ ${COMP_WORDS[1]} == completion ]]; then\n"
         "    COMPREPLY=($(compgen -W 'bash' -- \"$cur\"))\n"
         "  elif [[ $cur == -* ]]; then\n"
         "    local options='--root --help'\n"
         "    [[ ${COMP_WORDS[1]} == init ]] && options+=' --profile'\n"
         "    [[ ${COMP_WORDS[1]} == ps ]] && options+=' -A'\n"
         "    COMPREPLY=($(compgen -W \"$options\" -- \"$cur\"))\n"
         "  fi\n"
         "  return 0\n"
         "}\n"
         "complete -o default -F _orbafactory_sim orbafactory-sim\n";
}

}  // namespace orba::sim
