#!/usr/bin/env bash
# Writes the canal(1) manual page from the tool's own help: `canal --help` for the overview and
# `canal help COMMAND` for a section per command, so that the page never says other than the tool.
#   scripts/manpage.sh TOOL VERSION > canal.1
set -euo pipefail
tool=$1
version=$2

help=$("$tool" --help)

# Roff reads a leading '.' or "'" as a request and '\' as an escape; '-' should stay a minus so
# that options copied from the page work.
roff() {
    sed -e 's/\\/\\e/g' -e 's/-/\\-/g' -e "s/^\([.']\)/\\\\\&\1/"
}

block() {
    printf '.nf\n'
    roff
    printf '.fi\n'
}

summary=$(printf '%s\n' "$help" | awk 'NR > 1 && NF { print; exit }')
commands=$(printf '%s\n' "$help" |
    awk '/^Commands:/ { on = 1; next } on && !NF { exit } on { print $1 }')

printf '.TH CANAL 1 "" "canal %s" "User Commands"\n' "$version"
printf '.SH NAME\ncanal \\- %s\n' "$(printf '%s' "$summary" | sed 's/\.$//' | tr 'A-Z' 'a-z' | roff)"
printf '.SH SYNOPSIS\n.B canal\n\\fICOMMAND\\fR [\\fIARGUMENTS\\fR]\n.br\n'
printf '.B canal help\n\\fICOMMAND\\fR\n'
printf '.SH DESCRIPTION\n'
printf '%s\n' "$help" | tail -n +3 | block
printf '.SH COMMANDS\n'
for command in $commands; do
    printf '.SS %s\n' "$command"
    "$tool" help "$command" | block
done
printf '.SH SEE ALSO\n.BR ngspice (1)\n'
