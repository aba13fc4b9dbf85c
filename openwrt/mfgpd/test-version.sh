#!/bin/sh
# SPDX-License-Identifier: Apache-2.0

# Stands in for the feed's own check, which starts each program with version flags: the daemon takes
# no arguments and would serve for 10 minutes.
case "$1" in
mfgpd) ;;
*) mfgp-station --version | grep -F "$2" ;;
esac
