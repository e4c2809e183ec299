# bash completion for shadex and shadex-suite

# Core names as the installed shadex reports them, one a line.
_shadex_cores() {
    "${1:-shadex}" --list --format json 2>/dev/null |
        sed -n 's/"core":"\([^"]*\)"/\n\1\n/gp' | sed -n '/^[A-Z][^{}:,]*$/p'
}

# Core names matching what was typed, escaped for the command line ("Koro N1"
# has a blank).
_shadex_core_words() {
    local IFS=$'\n' core
    COMPREPLY=()
    for core in $(compgen -W "$1" -- "${2//\\/}"); do COMPREPLY+=("$(printf '%q' "$core")"); done
}

# Shader files by the extension table, and directories to descend into.
_shadex_files() {
    local IFS=$'\n'
    COMPREPLY=($(compgen -f -X '!*@(.vert|.tesc|.tese|.geom|.frag|.comp|.rgen|.rint|.rahit|.rchit|.rmiss|.rcall|.spv|.cl)' -- "$1") $(compgen -d -- "$1"))
    compopt -o filenames 2>/dev/null
}

_shadex() {
    local cur prev
    cur=${COMP_WORDS[COMP_CWORD]}
    prev=${COMP_WORDS[COMP_CWORD-1]}
    case $prev in
        -c|--core) _shadex_core_words "$(_shadex_cores "${COMP_WORDS[0]}")" "$cur"; return ;;
        --format) COMPREPLY=($(compgen -W "text json" -- "$cur")); return ;;
        --opencl) COMPREPLY=($(compgen -W "1.1 1.2 2.0 3.0" -- "$cur")); return ;;
        -o|--output) compopt -o filenames 2>/dev/null; COMPREPLY=($(compgen -f -- "$cur")); return ;;
        -I|--include) compopt -o dirnames 2>/dev/null; COMPREPLY=($(compgen -d -- "$cur")); return ;;
        -D|--define|-S|--sconst|-n|--name) return ;;
    esac
    if [[ $cur == -* ]]; then
        COMPREPLY=($(compgen -W "--opengles --vulkan --opencl -v --vertex -t --tessellation_control
            -e --tessellation_evaluation -g --geometry -f --fragment -C --compute -k --kernel
            --ray_generation --ray_any_hit --ray_closest_hit --ray_intersection --ray_miss
            --ray_callable --spirv -l --list -i --info -o --output -D --define -S --sconst -c --core
            -n --name -d --detailed --format -I --include --annotate --help --version" -- "$cur"))
        return
    fi
    _shadex_files "$cur"
}

_shadex_suite() {
    local cur prev command
    cur=${COMP_WORDS[COMP_CWORD]}
    prev=${COMP_WORDS[COMP_CWORD-1]}
    command=${COMP_WORDS[1]}
    if ((COMP_CWORD == 1)); then
        COMPREPLY=($(compgen -W "run diff check merge --help" -- "$cur"))
        return
    fi
    case $prev in
        -c|--core) _shadex_core_words "all"$'\n'"$(_shadex_cores "${COMP_WORDS[0]%shadex-suite}shadex")" "$cur"; return ;;
        --format) COMPREPLY=($(compgen -W "text markdown json" -- "$cur")); return ;;
        --metric) COMPREPLY=($(compgen -W "work_registers_used uniform_registers_used thread_occupancy
            stack_size has_stack_spilling stack_spill_bytes stack_alloca_bytes fp16_arithmetic
            total_cycles shortest_path_cycles longest_path_cycles bound_pipelines" -- "$cur")); return ;;
        -o|--output|--baseline|--sarif) compopt -o filenames 2>/dev/null; COMPREPLY=($(compgen -f -- "$cur")); return ;;
        -j|--jobs|--timeout|--shard|--threshold) return ;;
    esac
    if [[ $cur == -* ]]; then
        local run="-c --core -j --jobs --timeout --shard --sarif -q --quiet --help"
        local diff="--format --threshold --metric --help"
        case $command in
            run) COMPREPLY=($(compgen -W "$run -o --output" -- "$cur")) ;;
            diff) COMPREPLY=($(compgen -W "$diff" -- "$cur")) ;;
            check) COMPREPLY=($(compgen -W "$run $diff --baseline --update" -- "$cur")) ;;
            merge) COMPREPLY=($(compgen -W "-o --output --help" -- "$cur")) ;;
        esac
        return
    fi
    case $command in
        diff|merge) compopt -o filenames 2>/dev/null; COMPREPLY=($(compgen -f -X '!*.json' -- "$cur") $(compgen -d -- "$cur")) ;;
        *) _shadex_files "$cur" ;;
    esac
}

complete -F _shadex shadex
complete -F _shadex_suite shadex-suite
