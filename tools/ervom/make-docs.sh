#!/usr/bin/env bash
# Writes ervom's manual pages and its bash completion from the help texts the binary prints, so
# that `ervom COMMAND --help`, `man ervom-COMMAND` and Tab never disagree.
#   make-docs.sh OUTDIR VERSION ERVOM [EMULATOR...]
# OUTDIR/man/man1/ervom.1.gz and ervom-COMMAND.1.gz, OUTDIR/completion/ervom.
set -euo pipefail
[ $# -ge 3 ] || { echo "usage: $0 OUTDIR VERSION ERVOM [EMULATOR...]" >&2; exit 2; }
out=$1 version=$2
shift 2
ervom=("$@")
# The emulator of a cross build comes first on the command line, the binary last.
if [ ${#ervom[@]} -gt 1 ]; then ervom=("${ervom[@]:1}" "${ervom[0]}"); fi

rm -rf "$out/man" "$out/completion"
mkdir -p "$out/man/man1" "$out/completion"

overview=$("${ervom[@]}" --help)
# "  decode    summary..." lines of the Commands section.
commands=$(awk '/^Commands:$/ { on = 1; next } on && /^$/ { exit } on { print $1 }' <<<"$overview")
summary_of() {
    awk -v c="$1" '/^Commands:$/ { on = 1; next } on && /^$/ { exit }
        on && $1 == c { sub(/^ *[^ ]+ +/, ""); print }' <<<"$overview"
}

# to_man NAME SUMMARY SEE_ALSO: a help text on standard input, a page on standard output. The
# first "Usage:" lines are the synopsis, the paragraphs before the first "Section:" line the
# description; indented section lines keep their layout, as --help shows them.
to_man() {
    # Through the environment: awk -v would read the backslashes of the fonts as escapes.
    NAME=$1 SUMMARY=$2 SEE=$3 VERSION=$version awk '
        function esc(s) {
            gsub(/\\/, "\\e", s)
            if (s ~ /^[.\047]/) s = "\\&" s
            return s
        }
        function literal(s) { s = esc(s); gsub(/-/, "\\-", s); return s }
        function close_nf() { if (nf) { print ".fi"; nf = 0 } }
        BEGIN {
            name = ENVIRON["NAME"]; summary = ENVIRON["SUMMARY"]; see = ENVIRON["SEE"]; version = ENVIRON["VERSION"]
            title = toupper(name); gsub(/-/, "\\-", title)
            printf ".TH %s 1 \"\" \"ervom %s\" \"User Commands\"\n", title, version
            print ".SH NAME"
            n = name; gsub(/-/, "\\-", n)
            print n " \\- " esc(summary)
            state = "start"
        }
        state == "start" && /^Usage: / {
            print ".SH SYNOPSIS"; print ".nf"; print literal(substr($0, 8)); state = "usage"; next
        }
        state == "usage" && /^       / { sub(/^ +/, ""); print literal($0); next }
        state == "usage" { print ".fi"; print ".SH DESCRIPTION"; state = "text"; para = 0 }
        /^[A-Z][A-Za-z ]*:$/ {
            close_nf()
            print ".SH " (index($0, " ") ? "\"" toupper(substr($0, 1, length($0) - 1)) "\"" : toupper(substr($0, 1, length($0) - 1)))
            state = "section"; next
        }
        /^$/ { close_nf(); if (state == "section") state = "after"; para = 1; next }
        /^ / && (state == "section" || state == "after") {
            if (!nf) { print ".nf"; nf = 1 }
            print literal($0); next
        }
        {
            close_nf()
            if (para) { print ".PP"; para = 0 }
            print esc($0)
        }
        END {
            close_nf()
            if (see != "") { print ".SH \"SEE ALSO\""; print see }
        }'
}

see_commands=""
for c in $commands; do see_commands+="${see_commands:+, }\\fBervom\\-$c\\fR(1)"; done
to_man ervom "KNX values, DPTs, object ids and ETS exports with the object model's exact behaviour" \
    "$see_commands" <<<"$overview" >"$out/man/man1/ervom.1"

# The completion: commands, each command's options and the values they name ("text|tsv").
{
    echo "# bash completion for ervom, generated from its --help texts by make-docs.sh"
    echo "_ervom()"
    echo "{"
    echo "    local cur=\${COMP_WORDS[COMP_CWORD]} prev=\${COMP_WORDS[COMP_CWORD-1]}"
    echo "    local commands='$(tr '\n' ' ' <<<"$commands" | sed 's/ $//')'"
    echo "    local command='' i"
    echo "    for ((i = 1; i < COMP_CWORD; i++)); do"
    echo "        case \${COMP_WORDS[i]} in"
    echo "        -*) ;;"
    echo "        *) case \" \$commands \" in *\" \${COMP_WORDS[i]} \"*) command=\${COMP_WORDS[i]}; break ;; esac ;;"
    echo "        esac"
    echo "    done"
} >"$out/completion/ervom"

# options TEXT: "--name VALUE" per option line of every options section (VALUE may be empty).
options() {
    awk '/^[A-Za-z ]*[Oo]ptions:$/ { on = 1; next } /^[^ ]/ { on = 0 }
        on && /^  (-[a-z] \[ )?--[a-z0-9-]+/ {
            line = $0; sub(/^  (-[a-z] \[ )?/, "", line)
            split(line, w, / +/); opt = w[1]; value = ""
            if (match(line, /^--[a-z0-9-]+ [^ ]+/) && substr(line, RLENGTH, 1) != "]") value = substr(line, length(opt) + 2, RLENGTH - length(opt) - 1)
            print opt " " value
        }' <<<"$1"
}

values_case=""
declare -A command_options
common_options=$(options "$overview" | awk '{ printf "%s ", $1 }')
all_options=$(options "$overview")
for c in $commands; do
    help=$("${ervom[@]}" "$c" --help)
    to_man "ervom-$c" "$(summary_of "$c")" "\\fBervom\\fR(1)" <<<"$help" >"$out/man/man1/ervom-$c.1"
    command_options[$c]=$(options "$help" | awk '{ printf "%s ", $1 }')
    all_options+=$'\n'$(options "$help")
    # Words a command takes first ("ervom id co N"): the lower-case third word of its usage lines.
    words=$(awk '/^Usage: / || (/^       ervom/ && started) { started = 1; sub(/^Usage: */, ""); sub(/^ +/, "")
                 if ($3 ~ /^[a-z]+$/) print $3; next } { started = 0 }' <<<"$help" | sort -u | tr '\n' ' ')
    command_options[$c]+="|$words"
done
# A value name of lower-case words or numbers ("text|tsv", "3|2|free") lists the values; one in
# capitals is a placeholder, FILE a file.
while read -r opt value; do
    [ -n "$value" ] || continue
    case $value in
    FILE) values_case+="        $opt) COMPREPLY=(\$(compgen -f -- \"\$cur\")); return ;;"$'\n' ;;
    *[A-Z]*) values_case+="        $opt) return ;;"$'\n' ;;
    *) values_case+="        $opt) COMPREPLY=(\$(compgen -W '${value//|/ }' -- \"\$cur\")); return ;;"$'\n' ;;
    esac
done < <(sort -u <<<"$all_options")

{
    echo "    case \$prev in"
    printf '%s' "$values_case"
    echo "    esac"
    echo "    local options='$common_options' words=''"
    echo "    case \$command in"
    echo "    '') COMPREPLY=(\$(compgen -W \"\$commands \$options\" -- \"\$cur\")); return ;;"
    for c in $commands; do
        echo "    $c) options+='${command_options[$c]%%|*}' words='${command_options[$c]#*|}' ;;"
    done
    echo "    esac"
    echo "    if [[ \$cur == -* ]]; then"
    echo "        COMPREPLY=(\$(compgen -W \"\$options\" -- \"\$cur\"))"
    echo "    elif [ -n \"\$words\" ] && [ \"\${COMP_WORDS[COMP_CWORD-1]}\" = \"\$command\" ]; then"
    echo "        COMPREPLY=(\$(compgen -W \"\$words\" -- \"\$cur\"))"
    echo "    else"
    echo "        COMPREPLY=(\$(compgen -f -- \"\$cur\"))"
    echo "    fi"
    echo "}"
    echo "complete -o filenames -F _ervom ervom"
} >>"$out/completion/ervom"

gzip -9nf "$out"/man/man1/*.1
