# Completion of vrel for bash. vrel itself says what may stand at the cursor.
_vrel() {
  local answer
  mapfile -t answer < <("${1/#\~\//$HOME/}" __complete bash "$COMP_WORDBREAKS" \
    "${COMP_LINE:0:COMP_POINT}" "${COMP_LINE:COMP_POINT}" 2>/dev/null)
  if [ "${answer[0]}" = files ]; then
    COMPREPLY=()
    compopt -o default
  else
    COMPREPLY=("${answer[@]:1}")
  fi
}
complete -F _vrel vrel
