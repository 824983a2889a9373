# Shared by the scripts in this folder; sourced, never run.
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
me=$(basename "$0")

say() { printf '%s: %s\n' "$me" "$*"; }
fail() {
    printf '%s: %s\n' "$me" "$*" >&2
    exit 1
}
usage() {
    # The usage text is the comment block below the first line of the calling script.
    sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0" >&2
    exit 2
}

# Everything that is fetched or made once for all build trees of this user.
cache_dir() { printf '%s/mvlib62\n' "${XDG_CACHE_HOME:-$HOME/.cache}"; }

jobs_count() { nproc 2>/dev/null || echo 2; }

# Sets the variables below for a 32-bit Wine and returns 0, or returns 1 when there is none. A copy that scripts/setup
# made is preferred; a Wine of the system counts only after scripts/setup has seen it run a 32-bit program.
#   wine_loader  the program that starts Windows programs
#   wine_server  its server
#   wine_env     assignments that both need
#   wine_zlib    a library that its prefixes need
find_wine() {
    local copy system
    copy=$(cache_dir)/wine32
    system=$(cache_dir)/system-wine
    wine_env=()
    wine_zlib=/usr/i686-w64-mingw32/lib/zlib1.dll
    if [ -e "$copy/.complete" ]; then
        wine_loader=$copy/usr/lib/wine/wine
        wine_server=$copy/usr/lib/wine/wineserver32
        wine_env=(
            "LD_LIBRARY_PATH=$copy/usr/lib/i386-linux-gnu:$copy/lib/i386-linux-gnu"
            "WINEDLLPATH=$copy/usr/lib/i386-linux-gnu/wine"
            "WINESERVER=$wine_server"
        )
        [ -e /etc/fonts/fonts.conf ] || wine_env+=("FONTCONFIG_PATH=$copy/etc/fonts")
        wine_zlib=$copy/usr/i686-w64-mingw32/lib/zlib1.dll
        [ -e /lib/ld-linux.so.2 ]
        return
    fi
    if [ -e "$system" ] && wine_loader=$(command -v wine) && [ "$(cat "$system")" = "$(wine --version 2>&1)" ]; then
        wine_server=$(command -v wineserver || ls /usr/lib/wine/wineserver* 2>/dev/null | head -n 1)
        return 0
    fi
    return 1
}

# Debian's user32.dll needs zlib1.dll, which lies outside Wine's own folders: a prefix gets it before its first start.
seed_prefix() {
    mkdir -p "$1/drive_c/windows/system32" "$1/home"
    [ ! -e "$wine_zlib" ] || cp "$wine_zlib" "$1/drive_c/windows/system32/"
}
