#!/bin/sh
# essid.sh MODEL SUFFIX: names the default Wi-Fi network MODEL_XXXX after the suffix's last four
# digits.
# shellcheck source=../../usr/lib/sim/tool
. /usr/lib/sim/tool

echo "$1_${2#??}" >/fw/SSID
