# Completion of vrel for bash: source this file, or put it into /etc/bash_completion.d.
_vrel() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local commands="info signals export check synth"
  if [ "$COMP_CWORD" -eq 1 ]; then
    mapfile -t COMPREPLY < <(compgen -W "$commands --help --version" -- "$word")
    return
  fi
  case $previous in
    --time) mapfile -t COMPREPLY < <(compgen -W "gps utc elapsed" -- "$word"); return ;;
    --format) mapfile -t COMPREPLY < <(compgen -W "csv ndjson" -- "$word"); return ;;
    --streams) mapfile -t COMPREPLY < <(compgen -W "zint can quon dask yeld" -- "$word"); return ;;
  esac
  if [[ $word == -* ]]; then
    # The options stand in the command's own help.
    mapfile -t COMPREPLY < <(compgen -W "$(vrel "${COMP_WORDS[1]}" --help 2>/dev/null | grep -oE -- '--[a-z]+' | sort -u)" -- "$word")
  else
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
  fi
}
complete -o filenames -F _vrel vrel
