# Completion of ovprobe for bash: source it, or put it where bash-completion looks, under the name ovprobe.

# The options of each command; those of all that speak to the product stand in front.
_ovprobe_options() {
    local product="--help --timeout --json"
    case $1 in
        doctor) echo "$product --database --log" ;;
        ping | status | policy) echo "$product --raw" ;;
        indicators | telemetry | actions) echo "$product --raw --from" ;;
        outcomes) echo "$product --raw --yes --count" ;;
        watch) echo "$product --for --every" ;;
        record) echo "$product --database --redact --most" ;;
        conform) echo "$product" ;;
        explain) echo "--help --task --report --json" ;;
        kill) echo "$product --yes --pid --sha1 --sha256 --ids" ;;
        block) echo "$product --yes --sha1 --sha256 --ids --delete" ;;
        import) echo "$product --yes --blob" ;;
        announce) echo "$product --yes" ;;
        decode) echo "--help --hex --hex-text --kind --command --json" ;;
        "") echo "--help --version" ;;
    esac
}

_ovprobe() {
    local commands="doctor ping status policy indicators telemetry actions outcomes watch record conform kill block import announce explain decode"
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command="" candidate i
    for ((i = 1; i < COMP_CWORD; ++i)); do
        for candidate in $commands; do
            if [[ ${COMP_WORDS[i]} == "$candidate" ]]; then
                command=$candidate
                break 2
            fi
        done
    done
    COMPREPLY=()
    case $before in
        --database | --log | --report)
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            return
            ;;
        --kind)
            mapfile -t COMPREPLY < <(compgen -W "request reply alpc-connection alpc-request alpc-reply lpc-request
                lpc-reply lpc64-request lpc64-reply area policy symbols" -- "$word")
            return
            ;;
        --timeout | --from | --count | --most | --task | --for | --every | --pid | --sha1 | --sha256 | --ids | --hex | --command) return ;;
    esac
    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(_ovprobe_options "$command")" -- "$word")
    elif [[ -z $command ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$word")
    elif [[ $command == decode || $command == explain || $command == import || $command == record ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
    fi
}

complete -o filenames -F _ovprobe ovprobe
