#!/bin/sh
# Runs a compiler. While a source is changed (VRX_CHANGED), it gives no warnings and optimises little, so as to be quick.
# All other sources compile as in the developers' builds, so that a compiler cache has them.
[ -n "$VRX_CHANGED" ] || exec "$@"
case " $* " in
    *" -x c++-header "* | *"/tests/"*) exec "$@" -w ;;  # with the precompiled headers of the unchanged build
    *"/app/"* | *"/documents/"*) exec "$@" -w -O0 -U_FORTIFY_SOURCE ;;
    *) exec "$@" -w -O1 ;;
esac
