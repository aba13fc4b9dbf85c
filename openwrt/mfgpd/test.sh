#!/bin/sh
# SPDX-License-Identifier: Apache-2.0

# The feed's check calls this with the package's name and version once it is installed.
set -e

case "$1" in
mfgpd)
	# It runs until no datagram has arrived for 10 minutes, so check that it listens.
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
