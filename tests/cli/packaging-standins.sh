#!/bin/bash
# Puts stand-ins for the Linux packagings of browsers at their real paths and runs `sorvane` and
# an app it made against them. Meant to run as root inside a private mount namespace
# (`unshare --mount`): every mount below vanishes with the namespace.
#
#   packaging-standins.sh <work> <sorvane> <fake engine> <profile fixture> <browser key>
#                         <profile folder under HOME> <stand-in>...
#
# Stand-ins: snap-chromium, fedora-chromium, flatpak-system-chrome, flatpak-user-brave,
# path-chrome. Outputs land in <work>: browsers.json, browsers.txt, profiles.json, create.json,
# records/ (the fake engine's), launches/ (what the snap launcher and `flatpak` were asked).
set -euo pipefail
work=$1 sorvane=$2 fake=$3 fixture=$4 key=$5 profileFolder=$6
shift 6

mount --make-rprivate /
# Each place becomes an empty tmpfs; /usr/lib64 keeps a copy of what it had (the loader lives there).
for folder in /snap /var/lib/flatpak /opt /usr/lib/chromium; do
    if [ -d "$folder" ]; then
        mount -t tmpfs tmpfs "$folder"
    fi
done
# The machine's own browser commands are hidden too, so that only the stand-ins are found.
for command in chromium chromium-browser google-chrome google-chrome-stable brave-browser microsoft-edge-stable \
    vivaldi-stable opera; do
    for folder in /usr/local/bin /usr/bin /bin; do
        if [ -f "$folder/$command" ]; then
            mount --bind /dev/null "$folder/$command"
        fi
    done
done
mkdir -p "$work/lib64"
mount -t tmpfs tmpfs "$work/lib64"
cp -a /usr/lib64/. "$work/lib64/"
mount --bind "$work/lib64" /usr/lib64

export HOME=$work/home
export XDG_CONFIG_HOME=$HOME/.config XDG_DATA_HOME=$HOME/.local/share XDG_STATE_HOME=$HOME/.local/state
export SORVANE_NO_ICON_SEARCH=1 SORVANE_HELPER_GRACE_MS=0 SORVANE_FAKE_ENGINE_VERSION=120.0.6099.71
mkdir -p "$HOME" "$work/bin" "$work/launches" "$work/records"

# Who started a stand-in: the first word of its parent's command line.
parent_name() {
    tr '\0' '\n' <"/proc/$PPID/cmdline" | head -n 1
}

# `flatpak`: takes `run [options] <app id> [arguments]`, refuses options and applications it does
# not know, records what it was asked and who asked, and starts the fake engine as the app.
cat >"$work/bin/flatpak" <<EOF
#!/bin/bash
record=$work/launches/flatpak-\$\$
[ "\${1:-}" = run ] || { echo "error: only run is known here" >&2; exit 1; }
printf '%s\0' "\$@" >"\$record.args"
printf '%s\n' "\$(tr '\0' '\n' <"/proc/\$PPID/cmdline" | head -n 1)" >"\$record.parent"
shift
installation=
while [ \$# -gt 0 ]; do
    case \$1 in
        --user) installation=$HOME/.local/share/flatpak ;;
        --system) installation=/var/lib/flatpak ;;
        --branch=* | --arch=* | --command=* | --file-forwarding) ;;
        --filesystem=/*) folder=\${1#--filesystem=}; folder=\${folder%:ro}
            [ -d "\$folder" ] || { echo "error: no folder \$folder" >&2; exit 1; } ;;
        --*) echo "error: Unknown option \$1" >&2; exit 1 ;;
        *) break ;;
    esac
    shift
done
app=\${1:?no application}
shift
for place in \${installation:-$HOME/.local/share/flatpak /var/lib/flatpak}; do
    if [ -x "\$place/exports/bin/\$app" ]; then
        exec -a "flatpak:\$app" "$fake" "\$@"
    fi
done
echo "error: app/\$app/x86_64/master not installed" >&2
exit 1
EOF
chmod 755 "$work/bin/flatpak"

# An exported Flatpak command, as flatpak writes it.
export_flatpak() {
    mkdir -p "$1"
    printf '#!/bin/sh\nexec flatpak run --branch=stable --arch=x86_64 --file-forwarding %s "$@"\n' "$2" >"$1/$2"
    chmod 755 "$1/$2"
}

PATH=$work/bin:$PATH
for standIn in "$@"; do
    case $standIn in
        snap-chromium)
            # The snap launcher runs the app its own name says and refuses any other name.
            mkdir -p /snap/bin
            cat >/snap/launcher <<EOF
#!/bin/bash
name=\${0##*/}
record=$work/launches/snap-\$\$
printf '%s\n' "\$name" >"\$record.name"
printf '%s\n' "\$(tr '\0' '\n' <"/proc/\$PPID/cmdline" | head -n 1)" >"\$record.parent"
case \$name in
    chromium) exec -a "snap:\$name" "$fake" "\$@" ;;
esac
echo "internal error, please report: running \"\$name\" failed: cannot find app \"\$name\" in any snap" >&2
exit 46
EOF
            chmod 755 /snap/launcher
            ln -s /snap/launcher /snap/bin/chromium
            ;;
        fedora-chromium)
            mkdir -p /usr/lib64/chromium-browser
            cp "$fake" /usr/lib64/chromium-browser/chromium-browser
            ;;
        flatpak-system-chrome) export_flatpak /var/lib/flatpak/exports/bin com.google.Chrome ;;
        flatpak-user-brave) export_flatpak "$HOME/.local/share/flatpak/exports/bin" com.brave.Browser ;;
        path-chrome)
            # The vendor's layout: a wrapper script beside the real binary, linked from PATH.
            mkdir -p "$work/chrome-dist" "$work/pathbin"
            cp "$fake" "$work/chrome-dist/chrome"
            printf '#!/bin/sh\nexec "$(dirname "$(readlink -f "$0")")/chrome" "$@"\n' >"$work/chrome-dist/google-chrome"
            chmod 755 "$work/chrome-dist/google-chrome"
            ln -s "$work/chrome-dist/google-chrome" "$work/pathbin/google-chrome-stable"
            PATH=$work/pathbin:$PATH
            ;;
        *) echo "unknown stand-in $standIn" >&2; exit 2 ;;
    esac
done
export PATH

mkdir -p "$HOME/$profileFolder"
cp -a "$fixture/." "$HOME/$profileFolder/"

"$sorvane" browsers --json >"$work/browsers.json" 2>"$work/browsers.err"
"$sorvane" browsers >"$work/browsers.txt" 2>>"$work/browsers.err"
"$sorvane" profiles "$key" --json >"$work/profiles.json" 2>"$work/profiles.err"
"$sorvane" create --name Mail --url https://mail.example.org/ --browser "$key" --into "$work/Apps" \
    --route news.example.org=default --profile "Profile 1" --import-data bookmarks --json \
    >"$work/create.json" 2>"$work/create.err"
"$sorvane" info "$work/Apps/Mail.app" --json >"$work/info.json" 2>"$work/info.err"
SORVANE_FAKE_ENGINE_RECORDS=$work/records timeout 60 "$work/Apps/Mail.app/Contents/MacOS/Mail" \
    >"$work/app.out" 2>&1 || echo "app exited with $?" >>"$work/app.out"
# The helper the app starts beside its engine leaves by itself once the engine is gone.
for _ in $(seq 100); do
    if ls "$work/records"/*.args >/dev/null 2>&1; then
        break
    fi
    sleep 0.1
done
