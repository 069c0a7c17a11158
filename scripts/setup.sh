# Shared by scripts/run and scripts/test: packages and build. Sourced, not run.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

# Installs what packages.txt names and the machine lacks. A stamp keeps a second run from asking
# dpkg again; it is void when the list changes.
install_packages() {
    local stamp=build/.packages list=scripts/packages.txt missing
    [ -e "$stamp" ] && cmp -s "$stamp" "$list" && return
    missing=$(grep -v '^#' "$list" | while read -r package; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || echo "$package"
    done | tr '\n' ' ')
    if [ -n "${missing// /}" ]; then
        local sudo=
        if [ "$(id -u)" != 0 ]; then
            sudo="sudo -n"
            if ! command -v sudo >/dev/null || ! sudo -n true 2>/dev/null; then
                echo "These packages are missing, and this user may not install them:" >&2
                echo "  apt-get install $missing" >&2
                exit 1
            fi
        fi
        echo "installing: $missing"
        $sudo apt-get update -qq
        # shellcheck disable=SC2086
        DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends $missing >/dev/null
    fi
    mkdir -p build
    cp "$list" "$stamp"
}

# build_preset <preset> [targets...]
build_preset() {
    local preset=$1
    shift
    [ -e "build/$preset/build.ninja" ] || cmake --preset "$preset" >/dev/null
    if [ $# -gt 0 ]; then
        cmake --build --preset "$preset" --target "$@"
    else
        cmake --build --preset "$preset"
    fi
}
