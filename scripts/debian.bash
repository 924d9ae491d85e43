# shellcheck shell=bash
# What scripts for a Debian machine share; sourced by them. The caller defines fail().

# Where everything lies that is built once and kept: $OSTRELLE_CACHE, by default ~/.cache/ostrelle.
cache_folder() {
    local folder
    if [[ -n "${OSTRELLE_CACHE:-}" ]]; then
        folder=$OSTRELLE_CACHE
    elif [[ -n "${XDG_CACHE_HOME:-}" ]]; then
        folder=$XDG_CACHE_HOME/ostrelle
    else
        [[ -n "${HOME:-}" ]] || fail 'neither OSTRELLE_CACHE nor HOME is set'
        folder=$HOME/.cache/ostrelle
    fi
    [[ "$folder" == /* ]] || folder=$PWD/$folder
    printf '%s' "$folder"
}

as_root() {
    if [[ $(id -u) -eq 0 ]]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        fail "needs root or sudo for: $*"
    fi
}

apt_updated=no

apt_update() {
    [[ $apt_updated == no ]] || return 0
    as_root apt-get -q -o DPkg::Lock::Timeout=600 update
    apt_updated=yes
}

apt_mirror() {
    local codename
    # shellcheck source=/dev/null
    codename=$(. /etc/os-release && printf '%s' "${VERSION_CODENAME:-}")
    # Third-party lists may use the same code name: Debian's own say so in their
    # release file.
    # shellcheck disable=SC2016 # apt's own placeholders
    apt-get indextargets --format '$(ORIGIN)|$(LABEL)|$(CODENAME)|$(COMPONENT)|$(REPO_URI)' \
        'Created-By: Packages' |
        awk -F '|' -v codename="$codename" \
            '$1 == "Debian" && $2 == "Debian" && $3 == codename && $4 == "main" && $5 !~ /^cdrom:/ && !found {
                 print $5
                 found = 1
             }'
}

# The mirror that apt itself uses for this Debian, whatever the form of its lists.
debian_mirror() {
    local mirror
    mirror=$(apt_mirror)
    if [[ -z "$mirror" ]]; then
        apt_update >&2
        mirror=$(apt_mirror)
    fi
    [[ -n "$mirror" ]] || fail "apt's configuration names no Debian mirror of this release"
    printf '%s' "$mirror"
}
