# The Wine that Windows programs are tested with; read by the scripts beside it.
#
# It is Debian's, unpacked into a folder of its own and patched to run from there, so that it needs no root, no second
# architecture in this system's packages and no container. The folder must not be moved afterwards.

# Programs of 32 bits and of 64 have one each: VELMORANT_WINE_BITS tells which, VELMORANT_WINE and VELMORANT_WINE64 where.
# `both` is a third, made of these two, in which programs of 64 bits and of 32 start each other, as on most people's Windows.
WINE_BITS=${VELMORANT_WINE_BITS:-32}
WINE32_CACHE=${VELMORANT_WINE:-${XDG_CACHE_HOME:-$HOME/.cache}/velmorant/wine32}
WINE64_CACHE=${VELMORANT_WINE64:-${XDG_CACHE_HOME:-$HOME/.cache}/velmorant/wine64}
case $WINE_BITS in
64) WINE_CACHE=$WINE64_CACHE WINE_BUILD=windows64 ;;
both) WINE_CACHE=$WINE64_CACHE-and-32 WINE_BUILD=windows-both ;;
*) WINE_CACHE=$WINE32_CACHE WINE_BUILD=windows ;;
esac
WINE_ROOT=$WINE_CACHE/root
WINE_BIN=$WINE_ROOT/usr/lib/wine
WINE_PROGRAM=$WINE_BIN/wine
if [ "$WINE_BITS" = both ]; then
    WINE_PROGRAM=$WINE_BIN/wine64
    export WINEDLLPATH=$WINE_ROOT/usr/lib/i386-linux-gnu/wine
fi
# Dots per inch that programs find, 96 unless told.
WINE_DPI=${VELMORANT_WINE_DPI:-96}
# Where a test run keeps its Windows folder and its display; each build tree has its own, so that several can test, and
# one more for every other number of dots per inch, which is Windows' own for as long as it runs.
WINE_SESSION=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)/build/$WINE_BUILD/wine
[ "$WINE_DPI" = 96 ] || WINE_SESSION=$WINE_SESSION-$WINE_DPI
WINE_SESSION=${VELMORANT_WINE_SESSION:-$WINE_SESSION}

export WINEPREFIX=$WINE_SESSION/prefix
export WINEDEBUG=-all
# Wine takes the names of this system's files for text in the locale's encoding.
export LC_ALL=C.UTF-8
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
export FONTCONFIG_SYSROOT=$WINE_ROOT
