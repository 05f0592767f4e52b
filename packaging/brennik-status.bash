# bash completion for brennik-status(8)                    -*- shell-script -*-

_brennik_status() {
  local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} word command=
  local -r commands='config log explain file gaps wait report version'
  local options='--monitor --json --metrics --warning-age --critical-age --warning-pending --critical-pending
    --grace --root --help'
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    if [[ " $commands " == *" $word "* ]]; then command=$word && break; fi
  done
  COMPREPLY=()

  case $before in
    --root)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -d -- "$current")
      return
      ;;
    --metrics)
      if [[ $current != -* ]]; then
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
      fi
      ;;
    --level)
      mapfile -t COMPREPLY < <(compgen -W 'INFO WARN ERROR FATAL' -- "$current")
      return
      ;;
    --warning-age | --critical-age | --warning-pending | --critical-pending | --grace | --since | --days | --timeout)
      return
      ;;
  esac

  case $command in
    log) options+=' --since --level --follow' ;;
    gaps) options+=' --days' ;;
    wait) options+=' --accepted --timeout' ;;
  esac
  if [[ $current == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
    return
  fi
  case $command in
    '') mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$current") ;;
    config)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -d -- "$current")
      ;;
    report)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -f -- "$current")
      ;;
  esac
} && complete -F _brennik_status brennik-status
