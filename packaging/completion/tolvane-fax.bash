# Completion of tolvane-fax in bash. The table is that of the program: the build puts it here.
# shellcheck shell=bash
IFS= read -r -d '' _tolvane_fax_table <<'END'
@TABLE@
END

_tolvane_fax() {
  local cur prev words cword # set by _init_completion
  local command='' operands=() named='' options='' commands='' keywords='' takes='' word in names values
  _init_completion -n = || return
  for word in "${words[@]:1:cword-1}"; do
    if [[ ${#operands[@]} -eq 0 && $'\n'$_tolvane_fax_table == *$'\n'"$command|$word|COMMAND|"* ]]; then
      command+="${command:+ }$word"
    elif [[ $word != -* ]]; then
      operands+=("$word")
    fi
  done
  [[ $cur == --*=* ]] && prev=${cur%%=*} cur=${cur#*=}

  while IFS='|' read -r in names values _; do
    [[ $in == "$command" || (-z $in && $names != [a-z]*) ]] || continue
    case $names,$values in
      -*) options+=" ${names##* }" ;;
      *,COMMAND) commands+=" $names" ;;
      NAME,*\ *) keywords=$values ;;
      NAME*) named=$names ;;
    esac
    [[ $prev == -* && " $names " == *" $prev "* ]] && takes=$values
  done <<<"$_tolvane_fax_table"

  # After FILE come keywords, in the commands about them; get takes them before files, too.
  [[ -z $takes && -n $named && ${#operands[@]} -gt 0 && $cur != -* ]] && takes=$named
  if [[ $command == 'keywords get' && $cur != -* && " $keywords " == *" ${operands[0]-$cur}"* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$keywords" -- "$cur")
    [[ ${#COMPREPLY[@]} -gt 0 && -n $cur ]] && return
    takes=FILE
  fi
  [[ -z $takes && $cur == -* ]] && takes=$options
  [[ -z $takes && -n $commands ]] && takes=$commands
  case $takes in
    VALUE) return ;;
    '' | FILE)
      _filedir
      return
      ;;
    NAME) takes=$keywords ;;
    NAME=VALUE)
      takes="${keywords// /= }="
      compopt -o nospace
      ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$takes" -- "$cur")
} &&
  complete -F _tolvane_fax tolvane-fax
