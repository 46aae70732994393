#!/usr/bin/env bash
# Writes canal's bash completion from the tool's own help, so that commands, options and
# nicknames complete exactly as the tool knows them:
#   scripts/completion.sh TOOL > canal
# Completes: commands (and `help COMMAND`), the options of the command given, the nicknames where
# a command takes one, files for FILE and CIRCUIT, folders for DIR.
set -euo pipefail
tool=$1

help=$("$tool" --help)
section() {
    printf '%s\n' "$help" | awk -v head="$1" 'index($0, head) == 1 { on = 1; next }
                                             on && !/^  / { exit } on { print }'
}
commands=$(section Commands: | awk '{ print $1 }' | xargs)
nicknames=$(section Nicknames | tr -d ',' | xargs)
global_options=$(section Options: | grep -o -- '-[-a-z]*' | xargs)

# Per command: its options, each option's value (FILE, DIR, N, ... or nothing) and its positional
# arguments in order, read from the Usage line and the option lines of `canal help COMMAND`.
tables=""
for command in $commands; do
    text=$("$tool" help "$command")
    usage=$(printf '%s\n' "$text" | sed -n 's/^Usage: canal [a-z]* *//p' | head -n 1)
    positionals=$(printf '%s\n' "$usage" | sed 's/\[[^]]*\]//g' | xargs)
    # Options from the Usage line's brackets ("[--out DIR]") and from the option lines.
    options=$({
        printf '%s\n' "$usage" | grep -oE -- '\[--[a-z-]+( [A-Z]+)?\]' | tr -d '[]'
        printf '%s\n' "$text" | grep -oE -- '^  (-[a-z], )?--[a-z-]+( [A-Z]+)?' |
            sed 's/^ *//;s/^-[a-z], //'
    } | awk '!seen[$1]++' || true)
    names=$(printf '%s\n' "$options" | awk 'NF { print $1 }' | xargs)
    tables+="        $command) options=\"$names --help\"; positionals=\"$positionals\" ;;"$'\n'
    while read -r option value; do
        [ -n "$option" ] || continue
        values+="$option=${value:-}"$'\n'
    done <<<"$options"
done
# Options with values, each once: FILE and CIRCUIT complete files, DIR folders.
value_cases=$(printf '%s' "${values:-}" | sort -u | awk -F= '$2 != "" {
    kind = ($2 == "FILE" || $2 == "CIRCUIT") ? "file" : ($2 == "DIR") ? "dir" : "none"
    printf "        %s) kind=%s ;;\n", $1, kind }')

cat <<EOF
# bash completion for canal, generated from \`canal --help\` and \`canal help COMMAND\`.

_canal_complete_kind() {
    local kind=\$1 cur=\$2
    case \$kind in
        file) mapfile -t COMPREPLY < <(compgen -f -- "\$cur"); compopt -o filenames 2>/dev/null || true ;;
        dir) mapfile -t COMPREPLY < <(compgen -d -- "\$cur"); compopt -o filenames 2>/dev/null || true ;;
        nickname) COMPREPLY=(\$(compgen -W "$nicknames" -- "\$cur")) ;;
        *) COMPREPLY=() ;;
    esac
}

# The value an option takes: file, dir, none (a number or free text), or "" for a flag.
_canal_option_kind() {
    local kind=""
    case \$1 in
$value_cases
    esac
    printf '%s' "\$kind"
}

_canal() {
    local cur=\${COMP_WORDS[COMP_CWORD]}
    local commands="$commands"
    COMPREPLY=()
    if [ "\$COMP_CWORD" -eq 1 ]; then
        if [[ \$cur == -* ]]; then
            COMPREPLY=(\$(compgen -W "$global_options" -- "\$cur"))
        else
            COMPREPLY=(\$(compgen -W "\$commands help" -- "\$cur"))
        fi
        return
    fi
    local command=\${COMP_WORDS[1]} options="" positionals=""
    case \$command in
$tables        help)
            [ "\$COMP_CWORD" -eq 2 ] && COMPREPLY=(\$(compgen -W "\$commands" -- "\$cur"))
            return ;;
        *) return ;;
    esac

    local prev=\${COMP_WORDS[COMP_CWORD - 1]}
    local kind
    kind=\$(_canal_option_kind "\$prev")
    if [ -n "\$kind" ]; then
        _canal_complete_kind "\$kind" "\$cur"
        return
    fi
    if [[ \$cur == -* ]]; then
        COMPREPLY=(\$(compgen -W "\$options" -- "\$cur"))
        return
    fi

    # Which positional argument this word is: the words after the command that are neither
    # options nor option values.
    local i index=0 word
    for ((i = 2; i < COMP_CWORD; i++)); do
        word=\${COMP_WORDS[i]}
        if [[ \$word == -* ]]; then
            [ -n "\$(_canal_option_kind "\$word")" ] && ((i++))
            continue
        fi
        ((index++))
    done
    local -a slots=(\$positionals)
    case \${slots[index]:-} in
        NICKNAME) _canal_complete_kind nickname "\$cur" ;;
        CIRCUIT | FILE) _canal_complete_kind file "\$cur" ;;
        DIR) _canal_complete_kind dir "\$cur" ;;
    esac
}
complete -F _canal canal
EOF
