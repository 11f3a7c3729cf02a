#!/bin/bash
# Breaks the product on purpose, one place at a time, and counts how often the unit tests notice.
#
#   scripts/mutation.sh [--seed N] [--count N] [--only TEXT] [--list]
#
#   --seed N      draws the same places again; without it a new seed is drawn and named
#   --count N     as many broken places that compile (100)
#   --only TEXT   in sources whose path holds TEXT alone
#   --list        shows the places that would be drawn and ends
#
# A run that was ended early goes on where it was when it is called with its seed again.
#
# Works in a copy of the checkout and in a Wine prefix of its own, both below build/mutation. The
# exit code is 1 if fewer than 95 of 100 were noticed. Packages that are missing are installed by
# apt (as root, or through sudo).

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
