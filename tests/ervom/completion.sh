#!/usr/bin/env bash
# The generated bash completion, asked as bash asks it: each case is the words typed so far (the
# last one being completed) and the words it must offer.
#   completion.sh COMPLETION_FILE
set -euo pipefail
# shellcheck source=/dev/null
source "$1"
failures=0
check() { # check "WORDS TYPED" "EXPECTED OFFERS"
    read -r -a COMP_WORDS <<<"$1"
    [[ $1 == *" " ]] && COMP_WORDS+=("")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMPREPLY=()
    _ervom
    local got="${COMPREPLY[*]}"
    if [ "$got" != "$2" ]; then
        echo "FAIL: '$1' offers '$got', expected '$2'"
        failures=$((failures + 1))
    fi
}
check "ervom ga" "gamap"
check "ervom --format tsv ga" "gamap"
check "ervom --format " "text tsv json"
check "ervom monitor --kind " "read response write"
check "ervom mon" "monitor"
check "ervom gamap --ga-style " "3 2 free"
check "ervom gamap --ga" "--ga-style"
check "ervom decode --b" "--batch --by-number --bits"
check "ervom id " "appcontrol co device explain param"
check "ervom id --device " "1 2"
check "ervom simulate --threads " ""
check "ervom --log-l" "--log-level"
[ "$failures" -eq 0 ] || exit 1
echo "completion ok"
