# bash completion for kopertal

_kopertal() {
    local cur prev words cword
    _init_completion || return

    local command=${words[1]}
    case $cword:$command:$prev in
    1:*) ;;
    *:generate:-o | *:serve:--save-photos)
        _filedir -d
        return
        ;;
    *:generate:--output)
        _filedir docx
        return
        ;;
    *:generate:--template)
        _filedir dotx
        return
        ;;
    *:generate:--sender-name | *:generate:--sender-address | *:serve:--port)
        return
        ;;
    esac

    local options
    case $cword:$command in
    1:*) options='--help --version --verbose' ;;
    *:generate) options='-o --output --sender-name --sender-address --template --json --verbose --help' ;;
    *:scan) options='--json --verbose --help' ;;
    *:serve) options='--port --save-photos --verbose --help' ;;
    *:track) options='--json --verbose --help' ;;
    *) return ;;
    esac
    if [[ $cur == -* ]]; then
        COMPREPLY=($(compgen -W "$options" -- "$cur"))
    elif [[ $cword -eq 1 ]]; then
        _filedir txt
        COMPREPLY+=($(compgen -W 'generate scan serve track' -- "$cur"))
    elif [[ $command == generate ]]; then
        _filedir txt
    elif [[ $command == scan ]]; then
        _filedir '@(jp?(e)g|png|webp|tif?(f)|bmp|gif|hei[cf]|avif)'
    fi
} &&
    complete -F _kopertal kopertal
