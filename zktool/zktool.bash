# bash completion for zktool

_zktool() {
  local cur prev words cword command
  _init_completion || return
  command=${words[1]}

  if ((cword == 1)); then
    COMPREPLY=($(compgen -W 'info cat seek index check import pack ini env messages --help
      --version' -- "$cur"))
    return
  fi
  if ((cword == 2)); then
    case $command in
      ini) COMPREPLY=($(compgen -W 'get set list --help' -- "$cur")) ;;
      env) COMPREPLY=($(compgen -W 'expand --help' -- "$cur")) ;;
      messages) COMPREPLY=($(compgen -W 'import list --help' -- "$cur")) ;;
      *) false ;;
    esac && return
  fi
  case $prev in
    --directory)
      _filedir -d
      return
      ;;
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
      messages)
        options+=' --directory'
        [[ ${words[2]} != list ]] || options+=' --format'
        ;;
    esac
    COMPREPLY=($(compgen -W "$options" -- "$cur"))
    return
  fi
  case $command in
    import) _filedir '@(dbf|csv)' ;;
    ini) ((cword > 3)) || _filedir ini ;;
    messages) [[ ${words[2]} == list ]] || _filedir csv ;;
    env) ;;
    *) _filedir dbf ;;
  esac
}

complete -F _zktool zktool
