#!/bin/bash
# complete.bash FILE FUNCTION WORD...   prints what pressing the tab key behind the last WORD offers,
#                                       a line each, sorted. The first WORD is the program.
# shellcheck disable=SC1090,SC1091,SC2034
source /usr/share/bash-completion/bash_completion
source "$1"
completer=$2
shift 2
COMP_LINE="$*"
COMP_WORDS=()
for word; do # a line is broken at an equals sign too
    case $word in
    -*=?*) COMP_WORDS+=("${word%%=*}" "=" "${word#*=}") ;;
    -*=) COMP_WORDS+=("${word%=}" "=") ;;
    *) COMP_WORDS+=("$word") ;;
    esac
done
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
COMP_POINT=${#COMP_LINE}
COMP_TYPE=9
"$completer" "$1" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
printf '%s\n' "${COMPREPLY[@]}" | LC_ALL=C sort -u
