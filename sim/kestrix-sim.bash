# Completion of kestrix-sim's command line in bash: source this file.

_kestrix_sim() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} word
  local subcommand= isValue= words=
  # --option=value comes as three words.
  if [[ $current == = ]]; then
    current= isValue=yes
  elif [[ $previous == = ]]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]} isValue=yes
  fi
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    if [[ $subcommand == "" && $word =~ ^(apply|packet|verify|init)$ ]]; then subcommand=$word; fi
  done

  if [[ $subcommand == "" ]]; then
    words='apply packet verify init -h --help --version'
  elif [[ $subcommand == init && $current == -* ]]; then
    words='-h --help'
  elif [[ $subcommand == init ]]; then
    compopt -o filenames 2>/dev/null  # Fails where the function is called by hand.
    mapfile -t COMPREPLY < <(compgen -d -- "$current")
    return
  elif [[ $previous == --drop-delay ]]; then
    words='on off'
  elif [[ $previous == --trace ]]; then
    words='0 1 2 3 4 5 6 7 8 9'
  elif [[ $previous == --direction ]]; then
    words='ingress egress'
  elif [[ $previous =~ ^--(capture|expect|dump|html)$ ]]; then
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
    return
  elif [[ $isValue == yes || $previous =~ ^--(set|fail-write|interface|assume)$ ]]; then
    words=
  elif [[ $current == -* && $subcommand == packet ]]; then
    words='-h --help --interface --direction --capture --expect --assume --fail-write --html --json'
  elif [[ $current == -* && $subcommand == verify ]]; then
    words='-h --help --dump --repair --assume --html --json'
  elif [[ $current == -* ]]; then
    words='-h --help --registers --json --trace --model --set --fail-write --dump --html --drop-delay --assume --notes'
  else
    compopt -o filenames 2>/dev/null  # Fails where the function is called by hand.
    mapfile -t COMPREPLY < <(compgen -f -X '!*.json' -- "$current"; compgen -d -X '*.json' -- "$current")
    return
  fi
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

complete -F _kestrix_sim kestrix-sim
