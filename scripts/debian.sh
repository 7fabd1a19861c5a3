# Debian packages of any architecture in a folder of the user's own: nothing is installed, no root is needed, and this
# system's own packages and architectures stay as they are. Read by the scripts beside it that set something up there.

# The first Debian mirror among this machine's own sources, of either format: "suite mirror".
own_mirrors()
{
    local file
    for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
        [ -f "$file" ] || continue
        sed -nE 's/^deb +(\[[^]]*\] +)?([^ ]+) +([a-z]+) +.*\bmain\b.*/\3 \2/p' "$file"
    done
    for file in /etc/apt/sources.list.d/*.sources; do
        [ -f "$file" ] || continue
        awk 'function flush() { if (components ~ /(^| )main( |$)/ && types ~ /(^| )deb( |$)/) print suite, mirror
                                types = mirror = suite = components = "" }
             /^[[:space:]]*$/ { flush() }
             /^Types:/ { $1 = ""; types = $0 } /^URIs:/ { mirror = $2 } /^Suites:/ { suite = $2 }
             /^Components:/ { $1 = ""; components = $0 } END { flush() }' "$file"
    done
}

# set_up_once FOLDER WHAT: runs the caller's routine `set_up` with a log in FOLDER, unless FOLDER is complete; two at once
# wait for each other. The caller brings `cannot REASON`, which ends the script.
set_up_once()
{
    local folder=$1 tool
    [ "$(cat "$folder/complete" 2>/dev/null)" != "$folder" ] || return 0
    for tool in apt-get dpkg-deb tar flock; do command -v $tool >/dev/null || cannot "$tool is missing"; done
    mkdir -p "$folder" 2>/dev/null || cannot "$folder cannot be written"
    exec 9>"$folder/lock"
    flock 9
    [ "$(cat "$folder/complete" 2>/dev/null)" != "$folder" ] || return 0
    echo "Fetching $2 from Debian into $folder ..."
    set_up
    rm -rf "$folder/apt"
    echo "$folder" >"$folder/complete"
}

# prepare_apt STATE ARCHITECTURE TYPE: a state of apt's own in a folder, with this machine's mirror for packages (deb) or
# their sources (deb-src). `apt.conf` there is the one to use.
prepare_apt()
{
    local state=$1 architecture=$2 type=$3 suite mirror
    rm -rf "$state"
    mkdir -p "$state/lists/partial" "$state/archives/partial"
    : >"$state/status"
    suite=$(. /etc/os-release 2>/dev/null && echo "${VERSION_CODENAME:-}")
    mirror=$(own_mirrors | awk -v suite="$suite" '$1 == suite { print $2; exit }')
    [ -n "$suite" ] && [ -n "$mirror" ] || cannot "this machine's package sources name no Debian mirror"
    echo "$type [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $mirror $suite main" >"$state/sources.list"
    cat >"$state/apt.conf" <<CONF
APT::Architecture "$architecture"; APT::Architectures { "$architecture"; }; APT::Install-Recommends "false";
APT::Sandbox::User ""; Acquire::Languages "none"; Debug::NoLocking "true";
Dir::State "$state"; Dir::State::status "$state/status"; Dir::State::Lists "$state/lists";
Dir::Cache "$state"; Dir::Cache::Archives "$state/archives";
Dir::Etc::sourcelist "$state/sources.list"; Dir::Etc::sourceparts "-";
CONF
}

# fetch_packages FOLDER ARCHITECTURE PACKAGE...: with all that they depend on, into FOLDER/apt/archives. What was said
# goes to FOLDER/log.
fetch_packages()
{
    local state=$1/apt log=$1/log architecture=$2
    shift 2
    prepare_apt "$state" "$architecture" deb
    (
        export APT_CONFIG=$state/apt.conf DEBIAN_FRONTEND=noninteractive
        timeout 300 apt-get -qq update && timeout 900 apt-get -qq -y --download-only install "$@"
    ) >"$log" 2>&1 </dev/null || cannot "its packages cannot be fetched (see $log)"
}

# fetch_sources FOLDER PACKAGE...: what packages are made from, with Debian's patches, unpacked into FOLDER/sources. What
# was said goes to FOLDER/log.
fetch_sources()
{
    local state=$1/apt log=$1/log sources=$1/sources
    shift
    prepare_apt "$state" "$(dpkg --print-architecture)" deb-src
    rm -rf "$sources"
    mkdir -p "$sources"
    (
        export APT_CONFIG=$state/apt.conf
        cd "$sources"
        timeout 300 apt-get -qq update && timeout 900 apt-get -qq source "$@"
    ) >"$log" 2>&1 </dev/null || cannot "their sources cannot be fetched (see $log)"
}

# unpack_packages FOLDER EXCLUDED...: all that were fetched, into FOLDER/root, but for paths that match a pattern.
unpack_packages()
{
    local state=$1/apt root=$1/root log=$1/log folder package
    shift
    rm -rf "$root"
    mkdir -p "$root/usr/bin" "$root/usr/sbin" "$root/usr/lib"
    for folder in bin sbin lib; do ln -sfn usr/$folder "$root/$folder"; done
    for package in "$state"/archives/*.deb; do
        dpkg-deb --fsys-tarfile "$package" | tar -x --keep-directory-symlink --no-same-owner -C "$root" \
            --exclude='./usr/share/doc/*' --exclude='./usr/share/man/*' --exclude='./usr/share/locale/*' \
            "${@/#/--exclude=}"
    done >>"$log" 2>&1 || cannot "its packages cannot be unpacked (see $log)"
}
