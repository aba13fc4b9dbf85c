#!/bin/sh
# essid.sh MODEL SUFFIX: sets the name of the default Wi-Fi network to MODEL_XXXX. XXXX is the suffix
# without its first two characters.
# shellcheck source=../../usr/lib/sim/tool
. /usr/lib/sim/tool

echo "$1_${2#??}" >/fw/SSID
