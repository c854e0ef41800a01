# Completion of ledgerwick for bash. The command itself says what may follow (ledgerwick __complete).
_ledgerwick() {
  # bash parts words at = and : too; the command takes them as they were typed.
  local line=${COMP_LINE:0:COMP_POINT} words=() piece i
  for ((i = 0; i <= COMP_CWORD; ++i)); do
    piece=${COMP_WORDS[i]}
    if ((i == 0)) || [[ $line == [[:blank:]]* ]]; then
      line=${line#"${line%%[![:blank:]]*}"}
      words+=("")
    fi
    ((i < COMP_CWORD)) || piece=$line
    words[-1]+=$piece
    line=${line#"$piece"}
  done
  [[ $piece != [=:] ]] || piece=
  local command=${words[0]/#\~\//$HOME/} before=${words[-1]%"$piece"} replies reply
  mapfile -t replies < <("$command" __complete "${words[@]:1}" 2>/dev/null)
  COMPREPLY=()
  for reply in "${replies[@]:1}"; do
    reply=${reply%%$'\t'*}
    COMPREPLY+=("${reply#"$before"}")
  done
  [[ ${replies[0]} != *open* ]] || compopt -o nospace
  if [[ ${replies[0]} == *paths* ]]; then
    compopt -o filenames
    mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -f -- "$piece")
  fi
}
complete -F _ledgerwick ledgerwick
