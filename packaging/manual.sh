#!/bin/sh
# Writes manual pages from what the program tells of itself: velmorant.1 and one for each command.
#
#     packaging/manual.sh PROGRAM VERSION FOLDER
set -eu
case ${1:-} in -h | --help) sed -n '2,/^set /s/^# \{0,1\}//p' "$0"; exit 0 ;; esac
program=$1 version=$2 folder=$3
mkdir -p "$folder"

# page NAME WORD...: help's groups become sections, its options tagged paragraphs, and what is laid out stays so.
page()
{
    name=$1
    shift
    "$program" "$@" --help | awk -v name="$name" -v version="$version" '
        function safe(text) { gsub(/\\/, "\\e", text); gsub(/-/, "\\-", text); return (text ~ /^[.\047]/ ? "\\&" : "") text }
        function plain() { if (verbatim) print ".fi"; verbatim = 0 }
        function laid_out(text) { if (!verbatim) print ".nf"; verbatim = 1; print safe(text) }
        NR == 1 {
            capitals = toupper(name)
            sub(/\.$/, "")
            printf ".TH %s 1 \"\" \"velmorant %s\" \"User Commands\"\n.SH NAME\n%s \\- %s\n", safe(capitals), version, safe(name), safe($0)
            next
        }
        /^Usage: / { sub(/^Usage: /, ""); printf ".SH SYNOPSIS\n.B %s\n", safe($0); next }
        /^[A-Z][A-Za-z]*:$/ { plain(); sub(/:$/, ""); printf ".SH %s\n", safe(toupper($0)); section = $0; next }
        /^$/ { plain(); next }
        section ~ /^Examples?$/ && /^  / { laid_out(substr($0, 3)); next }
        section ~ /^Examples?$/ { plain(); print ".SH NOTES"; section = "Notes" }
        /^  [^ ].*   *[^ ]/ && match($0, /   *[^ ]/) {   # two blanks, what it is, at least two blanks, what it means
            rest = substr($0, 3)
            place = match(rest, /   */)
            plain()
            printf ".TP\n.B %s\n%s\n", safe(substr(rest, 1, place - 1)), safe(substr(rest, place + RLENGTH))
            next
        }
        /^  [^ ]/ { plain(); printf ".TP\n.B %s\n", safe(substr($0, 3)); next }
        length($0) > 30 && substr($0, 1, 30) ~ /^ *$/ { laid_out(substr($0, 29)); next }   # a choice and its meaning
        { sub(/^ +/, ""); if (section == "Notes" || section == "") plain(); print safe($0) }
        END {
            plain()
            print ".SH SEE ALSO"
            print name == "velmorant" ? "The command\\(aqs own pages, such as\n.BR velmorant\\-apply (1)." : ".BR velmorant (1)"
        }' >"$folder/$name.1"
}

page velmorant
"$program" --help | sed -n '/^Commands:/,/^$/s/^  \([a-z]*\) .*/\1/p' | while read -r command; do
    page "velmorant-$command" "$command"
done
