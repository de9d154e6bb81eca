# bash completion for zktool

_zktool() {
  local cur prev words cword command
  _init_completion || return
  command=${words[1]}

  if ((cword == 1)); then
    COMPREPLY=($(compgen -W 'info cat seek import pack --help --version' -- "$cur"))
    return
  fi
  case $prev in
    --format)
      COMPREPLY=($(compgen -W 'table csv json' -- "$cur"))
      return
      ;;
    --index)
      _filedir '@(cdx|idx)'
      return
      ;;
    --limit | --fields | --order | --tag)
      return
      ;;
  esac
  if [[ $cur == -* ]]; then
    local options=--help
    case $command in
      cat) options+=' --format --limit --deleted --order --index' ;;
      seek) options+=' --tag --index' ;;
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
