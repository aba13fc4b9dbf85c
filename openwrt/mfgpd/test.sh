#!/bin/sh
# SPDX-License-Identifier: Apache-2.0

# The package feed's check runs this script after it has installed a package. The arguments are the
# name and the version of the package.
set -e

case "$1" in
mfgpd)
	# The daemon keeps running, so check that it has opened its port.
	start-stop-daemon -S -b -x /usr/sbin/mfgpd
	for _ in 1 2 3 4 5 6 7 8 9 10; do
		sleep 1
		listens="$(grep -c '^ *[0-9]*: 00000000:0410 ' /proc/net/udp || true)"
		[ "$listens" = 0 ] || break
	done
	start-stop-daemon -K -x /usr/sbin/mfgpd
	[ "$listens" = 1 ]
	;;
mfgp-station)
	mfgp-station --version | grep -F "$2"
	;;
esac
