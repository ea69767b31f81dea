#compdef vrel
# Completion of vrel for zsh. vrel itself says what may stand at the cursor.
_vrel() {
  local program=${(Q)words[1]} line
  local -a answer names shown
  answer=("${(@f)$("${program/#\~\//$HOME/}" __complete words $((CURRENT - 2)) \
    "${(@Q)words[2,CURRENT-1]}" "${(Q)PREFIX}" "${(@Q)words[CURRENT+1,-1]}" 2>/dev/null)}")
  if [[ $answer[1] == files ]]; then
    _files
    return
  fi
  shift answer
  for line in $answer; do
    names+=("${line%%$'\t'*}")
    shown+=("${line/$'\t'/  }")
  done
  compadd -M 'm:{a-zA-Z}={A-Za-z}' -l -d shown -a names
}
if [ "$funcstack[1]" = _vrel ]; then
  _vrel "$@"
else
  compdef _vrel vrel
fi
