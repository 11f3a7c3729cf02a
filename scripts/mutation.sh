#!/bin/bash
# Breaks the product on purpose, one place at a time, and counts how often the unit tests notice.
#
#   scripts/mutation.sh [--seed N] [--count N] [--only TEXT] [--list]
#
#   --seed N      selects the same places again. Default: a new seed, which is printed
#   --count N     number of broken places that compile, 100 by default
#   --only TEXT   only in sources whose path contains TEXT
#   --list        only lists the places
#
# An interrupted run continues if it is started with its seed again.
#
# It uses a copy of the checkout and its own Wine prefix, both below build/mutation. The exit code is 1
# if fewer than 95 of 100 places were noticed. Missing packages are installed with apt (as root, or
# through sudo).

# shellcheck source=scripts/lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

case " $* " in
    *' -h '* | *' --help '*) show_help && exit ;;
esac

export TARNWICK_WINEPREFIX=$root/build/mutation/wineprefix
wine_users=$TARNWICK_WINEPREFIX.users

need_packages "${build_packages[@]}" "${wine_packages[@]}" git python3
claim_service
begin_wine

heading "Breaking the product"
PYTHONDONTWRITEBYTECODE=1 python3 scripts/mutation.py "$@" 7>&- </dev/null
