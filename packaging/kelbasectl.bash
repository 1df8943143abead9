# Completion of kelbasectl's commands, tables and options.
_kelbasectl() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
  local command=
  local one
  for one in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    case $one in status | check | show | load | help) command=$one; break ;; esac
  done
  case $previous in
    --rundir) mapfile -t COMPREPLY < <(compgen -d -- "$word"); return ;;
    show) mapfile -t COMPREPLY < <(compgen -W \
      "addresses fecs forwarding links neighbours routes" -- "$word"); return ;;
  esac
  case $command in
    '') mapfile -t COMPREPLY < <(compgen -W \
      "status check show load help --rundir --json --version --help" -- "$word") ;;
    show) mapfile -t COMPREPLY < <(compgen -W "--to --within --json --help" -- "$word") ;;
    check) mapfile -t COMPREPLY < <(compgen -W "--agent --community --json --help" -- "$word") ;;
    help) mapfile -t COMPREPLY < <(compgen -W "status check show load" -- "$word") ;;
    load) mapfile -t COMPREPLY < <(compgen -f -W "--force --help" -- "$word") ;;
    *) mapfile -t COMPREPLY < <(compgen -W "--json --help" -- "$word") ;;
  esac
}
complete -o filenames -F _kelbasectl kelbasectl
