# Completion of tolvane-fax in bash. Commands, options, the words that an option takes, and the names of keywords come
# from the program's own help texts, so that they cannot fall behind it.

# The help text of the command that the words in front of the cursor name.
_tolvane_fax_help() {
  local command=() word
  for word in "${words[@]:1:cword-1}"; do
    [[ $word == -* ]] && continue
    command+=("$word")
    [[ ${command[*]} == keywords ]] || break
  done
  "$1" "${command[@]}" --help 2>/dev/null
}

_tolvane_fax() {
  local cur prev words cword help wanted
  _init_completion -n = || return
  help=$(_tolvane_fax_help "$1")

  # An option that takes one of several words stands in the help as "--to mh|mr|mmr".
  [[ $prev == -* ]] && wanted=$(grep -oP -- "(^ +|,)\Q$prev\E(,--[a-z]+)? \K[a-z0-9-]+(\|[a-z0-9-]+)+" <<<"$help")
  if [[ -n $wanted ]]; then
    wanted=${wanted//|/ }
  elif [[ $cur == -* ]]; then
    wanted="--quiet "$(grep -oP '^  (-\w,)?\K--(?!quiet)[a-z-]+' <<<"$help")
  elif grep -q '^Subcommands:' <<<"$help"; then
    wanted=$(sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p' <<<"$help")
  elif [[ $prev == -k || $prev == --keyword || (${words[1]} == keywords && $cword -gt 3 && $prev != --from) ]]; then
    # A name that begins with # would be a comment; the program sets that one itself.
    wanted=$("$1" keywords --help 2>/dev/null | sed -n '/^Names:/,/^$/p' | grep -oP '(?<= )[A-Z][A-Z_0-9#]+(?=,|$)')
    if [[ $prev == -* || ${words[2]} == set || ${words[2]} == add ]]; then
      wanted=${wanted//$'\n'/= }=
      compopt -o nospace
    fi
  elif [[ $prev == -* && $prev != --from ]] && grep -qP -- "(^ +|,)\Q$prev\E(,--[a-z]+)? [A-Z]" <<<"$help"; then
    return # a number, or pages
  else
    case ${words[1]} in
      create | append | insert) _filedir '@(fax|tif|tiff|pbm|png|pdf|g3|g4)' ;;
      extract | render) _filedir '@(fax|tif|tiff|pbm|png|pdf)' ;;
      *) _filedir fax ;;
    esac
    return
  fi
  mapfile -t COMPREPLY < <(compgen -W "$wanted" -- "$cur")
} &&
  complete -F _tolvane_fax tolvane-fax

# ex: filetype=sh
