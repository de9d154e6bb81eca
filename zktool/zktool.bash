# bash completion for zktool

_zktool() {
  local cur prev words cword command
  _init_completion || return
  command=${words[1]}

  if ((cword == 1)); then
    COMPREPLY=($(compgen -W 'info cat seek index check import pack --help --version' -- "$cur"))
    return
  fi
  case $prev in
    --format)
      COMPREPLY=($(compgen -W 'table csv json' -- "$cur"))
      return
      ;;
    --index | --name)
      _filedir '@(cdx|idx)'
      return
      ;;
    --limit | --where | --fields | --order | --tag | --filter)
      return
      ;;
  esac
  if [[ $cur == -* ]]; then
    local options=--help
    case $command in
      cat) options+=' --format --limit --where --deleted --order --index' ;;
      seek) options+=' --tag --index' ;;
      index) options+=' --name --tag --filter --unique --descending' ;;
      check) options+=' --index --repair' ;;
      import) options+=' --fields --append' ;;
    esac
    COMPREPLY=($(compgen -W "$options" -- "$cur"))
    return
  fi
  if [[ $command == import ]]; then
    _filedir '@(dbf|csv)'
  else
    _filedir dbf
  fi
}

complete -F _zktool zktool
