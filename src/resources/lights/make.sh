#!/bin/sh
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
#
# Draws the four status lights into ../images from led.svg. Needs rsvg-convert (librsvg2-bin).
set -eu
cd "$(dirname "$0")"

# light NAME BRIGHT MAIN DEEP EDGE GLOW SHINE: colours from the middle of the lamp outwards, the
# light that rises from its lower edge, and how strongly its upper half reflects (0 to 1).
light() {
    sed -e "s/@BRIGHT@/$2/" -e "s/@MAIN@/$3/" -e "s/@DEEP@/$4/" -e "s/@EDGE@/$5/" \
        -e "s/@GLOW@/$6/" -e "s/@SHINE@/$7/" led.svg |
        rsvg-convert --width 256 --height 256 --format png --output "../images/led_$1.png"
}

#     name    bright    main      deep      edge      glow      shine
light nero    '#4b5157' '#2b2f33' '#15181a' '#08090a' '#6d757d' 0.55
light arancio '#ffc04d' '#ff9500' '#e06c00' '#8a3c00' '#ffe08a' 0.75
light verde   '#5fe868' '#2ecc40' '#149a2c' '#06521a' '#c6ffb0' 0.75
light rosso   '#ff5a48' '#ee1f16' '#b80d12' '#5e0508' '#ff9078' 0.70
