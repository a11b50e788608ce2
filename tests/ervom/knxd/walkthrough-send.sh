#!/usr/bin/env bash
# The telegrams of the README's walk-through: what a small installation says in a few seconds.
set -eu
url=$1
knxtool groupwrite "$url" 1/2/3 0c 1a  # the living room's temperature, 21 °C
knxtool groupswrite "$url" 1/1/1 1     # the ceiling light switched on
knxtool groupwrite "$url" 1/1/4 80     # the blind's position
knxtool groupread "$url" 1/2/3         # a display asks for the temperature
knxtool groupwrite "$url" 1/2/5 ff     # a valve position beyond the DPT's range
knxtool groupwrite "$url" 1/1/7 2a     # a scene panel, in the export without a DPT
knxtool groupwrite "$url" 2/0/0 0c 33  # an address the export does not list
