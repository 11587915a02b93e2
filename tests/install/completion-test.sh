#!/usr/bin/env bash
# Checks the bash completion of xopolicy against the tool itself: it offers
# every command that `xopolicy --help` lists and every verb that `xopolicy
# COMMAND --help` lists, and nothing else; and a table of typed lines gives
# the words expected.
#
#   completion-test.sh COMPLETION XOPOLICY
set -euo pipefail
completion=$1
xopolicy=$2
# shellcheck source=/dev/null
source "$completion"

fail() {
  echo "completion-test: $*" >&2
  exit 1
}

# complete LINE: what the completion offers for LINE, the last word being the
# one under the cursor; one word a line, sorted.
complete_line() {
  read -ra COMP_WORDS <<<"$1"
  [[ $1 == *" " ]] && COMP_WORDS+=("")
  COMP_WORDS[0]=$xopolicy
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  _xopolicy
  printf '%s\n' "${COMPREPLY[@]}" | sort
}

# The subcommands that `xopolicy WORDS --help` lists, sorted.
listed_subcommands() {
  "$xopolicy" "$@" --help | sed -n '/^Subcommands:/I,/^$/s/^  \([a-z][a-z0-9-]*\) .*/\1/p' | sort
}

[ "$(complete_line "xopolicy ")" = "$(listed_subcommands)" ] ||
  fail "the commands differ from xopolicy --help: $(complete_line "xopolicy " | tr '\n' ' ')"
for command in $(listed_subcommands); do
  [ "$(complete_line "xopolicy $command ")" = "$(listed_subcommands "$command")" ] ||
    fail "the verbs of $command differ from xopolicy $command --help"
done

# Typed line | a word that must be offered (- for none at all).
while IFS='|' read -r line expected; do
  offered=$(complete_line "$line")
  if [ "$expected" = - ]; then
    [ -z "$offered" ] || fail "\"$line\" offers $offered"
  else
    grep -qx -- "$expected" <<<"$offered" || fail "\"$line\" does not offer $expected: $offered"
  fi
done <<'EOF'
xopolicy re|realm
xopolicy --store sqlite:x.db --admin root rea|realm
xopolicy realm f|flush
xopolicy --json domain add-|add-userdir
xopolicy --st|--store
xopolicy realm add portal --dom|--domain
xopolicy export --inc|--include-secrets
xopolicy apply --dr|--dry-run
xopolicy --store |-
xopolicy realm add |-
EOF
echo "completion-test: passed"
