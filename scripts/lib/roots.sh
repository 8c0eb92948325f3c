# Shared by scripts/fresh-root and scripts/debian13, sourced: a Debian root made with
# debootstrap, mounted for programs to run in and released again. The caller sets `root` (the
# root's folder) and `path` (PATH inside) and defines `die`.

# The "deb" sources this machine's apt reads, one "URI SUITE" a line, from both the one-line
# and the deb822 form.
host_sources() {
    local f
    for f in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
        [[ -f $f ]] || continue
        sed -e 's/#.*//' -e 's/\[[^]]*\]//' "$f" | awk '$1 == "deb" { print $2, $3 }'
    done
    for f in /etc/apt/sources.list.d/*.sources; do
        [[ -f $f ]] || continue
        awk '
            function flush(   i, j, nu, ns, u, s) {
                if (types ~ /(^| )deb( |$)/ && enabled !~ /^(no|false)$/) {
                    nu = split(uris, u, " "); ns = split(suites, s, " ")
                    for (i = 1; i <= nu; i++) for (j = 1; j <= ns; j++) print u[i], s[j]
                }
                types = uris = suites = enabled = ""
            }
            /^[ \t]*#/ { next }
            /^[ \t]*$/ { flush(); next }
            {
                key = tolower($1); sub(/:$/, "", key); value = $0
                sub(/^[^:]*:[ \t]*/, "", value)
                if (key == "types") types = value
                else if (key == "uris") uris = value
                else if (key == "suites") suites = value
                else if (key == "enabled") enabled = tolower(value)
            }
            END { flush() }
        ' "$f"
    done
}

# The URI that this machine's apt reads SUITE from.
host_uri_of() {
    host_sources | awk -v suite="$1" '$2 == suite { print $1; exit }'
}

mounted_under() {
    awk -v r="$root" '$5 == r || index($5, r "/") == 1 { print $5 }' /proc/self/mountinfo
}

root_pids() {
    local link pid target
    for link in /proc/[0-9]*/root; do
        pid=${link#/proc/}
        pid=${pid%/root}
        target=$(readlink "$link" 2>/dev/null) || continue
        [[ $target == "$root" || $target == "$root"/* ]] && echo "$pid"
    done
    return 0
}

# Ends what runs in the root, then unmounts, the deepest mount first.
release_root() {
    local pids mounts m
    mapfile -t pids < <(root_pids)
    if ((${#pids[@]})); then
        kill -TERM "${pids[@]}" 2>/dev/null || true
        for _ in $(seq 50); do
            mapfile -t pids < <(root_pids)
            ((${#pids[@]})) || break
            sleep 0.1
        done
        ((${#pids[@]} == 0)) || kill -KILL "${pids[@]}" 2>/dev/null || true
        for _ in $(seq 50); do
            mapfile -t pids < <(root_pids)
            ((${#pids[@]})) || break
            sleep 0.1
        done
    fi
    mapfile -t mounts < <(mounted_under | tac)
    for m in "${mounts[@]}"; do
        umount "$m" 2>/dev/null || umount -l "$m" || true
    done
    [[ -z $(mounted_under) ]] || {
        echo "scripts/fresh-root: still mounted under $root:" >&2
        mounted_under >&2
        return 1
    }
}

mount_root() {
    mount -t proc proc "$root/proc"
    mount -t sysfs sysfs "$root/sys"
    # A bind of /dev alone, made private, so that the mounts below it stay out of the host's /dev.
    mount --bind /dev "$root/dev"
    mount --make-private "$root/dev"
    mount -t devpts -o newinstance,ptmxmode=0666,mode=0620,gid=5 devpts "$root/dev/pts"
    mount -t tmpfs -o mode=1777 tmpfs "$root/dev/shm"
    mount -t tmpfs -o mode=0755 tmpfs "$root/run"
    mkdir -p "$root/run/lock"
    chmod 1777 "$root/run/lock"
}

# Runs a command line in the root as root, in the environment of a fresh login.
in_root() {
    chroot "$root" /usr/bin/env -i HOME=/root PATH="$path" LANG=C.UTF-8 TERM="${TERM:-dumb}" \
        /bin/bash -lc "$1"
}

# Makes the bare base system of RELEASE (debootstrap's VARIANT) packed into TARBALL, with the
# apt sources a newly installed Debian reads. debootstrap comes from scripts/deps.
make_base_tarball() {
    local release=$1 variant=$2 tarball=$3 mirror security tmp log
    mirror=${TARNVIK_FRESH_MIRROR:-$(host_uri_of "$release")}
    # Another release's packages come from the archive this machine reads its own from.
    [[ -n $mirror ]] || mirror=$(host_uri_of "$(. /etc/os-release && echo "$VERSION_CODENAME")")
    [[ -n $mirror ]] || die "this machine's apt sources name no archive for $release; set TARNVIK_FRESH_MIRROR"
    tmp=$tarball.tmp
    log=${tarball%.tar.gz}-debootstrap.log
    rm -rf --one-file-system "$tmp"
    echo "== debootstrap --variant=$variant $release from $mirror"
    if ! debootstrap --variant="$variant" "$release" "$tmp" "$mirror" >"$log" 2>&1; then
        tail -n 20 "$log" >&2
        die "debootstrap failed (its log: $log)"
    fi
    security=$(host_uri_of "$(. /etc/os-release && echo "$VERSION_CODENAME")-security")
    {
        echo "deb $mirror $release main"
        echo "deb $mirror $release-updates main"
        [[ -z $security ]] || echo "deb $security $release-security main"
    } >"$tmp/etc/apt/sources.list"
    grep -qw localhost "$tmp/etc/hosts" 2>/dev/null || printf '127.0.0.1\tlocalhost\n::1\t\tlocalhost ip6-localhost ip6-loopback\n' >>"$tmp/etc/hosts"
    rm -f "$tmp"/var/cache/apt/archives/*.deb
    tar --numeric-owner --xattrs -C "$tmp" -czf "$tarball.new" .
    mv "$tarball.new" "$tarball"
    rm -rf --one-file-system "$tmp"
}
