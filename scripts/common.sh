# Shared by the scripts in this folder; to be sourced. Progress goes to standard error.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# install_packages LIST...: installs what the lists packages/LIST.txt name and the system lacks.
install_packages() {
    local package missing=()
    while read -r package; do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] ||
            missing+=("$package")
    done < <(for list in "$@"; do grep -vE '^\s*(#|$)' "$root/scripts/packages/$list.txt"; done)
    [ ${#missing[@]} -gt 0 ] || return 0
    echo "Installing: ${missing[*]}" >&2
    as_root apt-get update -q >&2
    as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -q -y --no-install-recommends "${missing[@]}" >&2
}

# build_preset PRESET: configures when needed and builds what has changed; prints the log only when
# that fails.
build_preset() {
    local folder="$root/build/$1" log
    if [ -f "$folder/build.ninja" ] && ninja -C "$folder" -n | grep -q 'no work to do'; then
        return 0
    fi
    echo "Building $1" >&2
    log=$(mktemp)
    if ! { [ -f "$folder/build.ninja" ] || cmake -S "$root" --preset "$1"; } >"$log" 2>&1 ||
        ! cmake --build "$folder" >>"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        return 1
    fi
    rm -f "$log"
}
