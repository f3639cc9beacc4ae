#!/bin/sh
# Builds a generated app's private engine from an installed browser.
#
#   sh createEngine.sh <app name> <work folder> <browser> <display name> <short name> <framework folder>
#
# <work folder> is the app's Contents/Resources; the app bundle is two levels above it.
# <browser> is the browser's bundle (macOS) or its engine executable (Linux).
#
# The app runs this at every start, so it returns at once when the engine is up to date, and it
# rebuilds the engine when the browser was updated in place. Portable sh only: it runs under
# dash and under bash in sh mode. SORVANE_ENGINE_PLATFORM=mac|linux overrides the detection.

if [ "$#" -lt 6 ]; then
    echo "usage: createEngine.sh <app name> <work folder> <browser> <display name> <short name> <framework folder>" >&2
    exit 2
fi

APP_NAME=$1
WORK_DIR=$2
BROWSER=$3
DISPLAY_NAME=$4
SHORT_NAME=$5
FRAMEWORK_NAME=$6
unset CDPATH

fail() {
    printf 'createEngine.sh: %s\n' "$*" >&2
    exit 1
}

warn() {
    printf 'createEngine.sh: %s\n' "$*" >&2
}

case $APP_NAME in
    '' | */*) fail "invalid app name: $APP_NAME" ;;
esac

# A built engine costs this script no process beyond its own shell: no command substitution, no
# external tool, until something has to change.
case $BROWSER in
    /*) ;;
    *) BROWSER=$PWD/$BROWSER ;;
esac
cd "$WORK_DIR" 2>/dev/null || fail "no work folder at $WORK_DIR"
RESOURCES=$PWD
CONTENTS=${RESOURCES%/*}
ENGINE="$CONTENTS/MacOS/$APP_NAME Engine"

# Every file is written beside its target under a temporary name and renamed over it.
TMPFILE=
use_temp() {
    if [ -n "$TMPFILE" ]; then
        rm -f "$TMPFILE" "$TMPFILE.in" "$TMPFILE.out" "$TMPFILE.app" "$TMPFILE.browser"
    fi
    TMPFILE=$1
}
trap 'use_temp ""' EXIT
trap 'exit 1' HUP INT TERM

PLATFORM=${SORVANE_ENGINE_PLATFORM:-}
if [ -z "$PLATFORM" ]; then
    if [ -f /System/Library/CoreServices/SystemVersion.plist ]; then PLATFORM=mac; else PLATFORM=linux; fi
fi

# Snap and Flatpak browsers cannot be linked to: the snap launcher picks its program by the name
# it is started under, and a Flatpak runs only through `flatpak run`. Their engine is a small bash
# program instead. It re-starts itself under its own path as argv[0], so the app's checks and its
# helper still see "<name> Engine" running, and starts the browser as its child, handing on the
# signals that end it. Values reach it as data: the browser's path in single quotes, the bundle's
# folder found at run time and passed on as single arguments.
ENGINE_WRAPPER_HEAD='#!/bin/bash
# Engine of a Sorvane app (written by createEngine.sh).
if [ "${SORVANE_ENGINE_SELF:-}" != "$$" ]; then
    export SORVANE_ENGINE_SELF=$$
    exec -a "$0" /bin/bash "$0" "$@"
fi
unset SORVANE_ENGINE_SELF
'
ENGINE_WRAPPER_TAIL='"${command[@]}" "$@" &
child=$!
trap '"'"'kill -TERM "$child" 2>/dev/null'"'"' TERM INT HUP
while :; do
    wait "$child"
    status=$?
    kill -0 "$child" 2>/dev/null || exit "$status"
done
'
# The launcher's two relative switches (`--user-data-dir=./../Profile`, `--load-extension=./../Resources/...`)
# become absolute: neither a Snap nor a Flatpak promises to keep the working folder.
ENGINE_WRAPPER_FOLDERS='contents=$(cd "${0%/*}/.." && pwd -P) || exit 1
arguments=()
for argument in "$@"; do
    case $argument in
        --user-data-dir=./../Profile) argument="--user-data-dir=$contents/Profile" ;;
        --load-extension=./../Resources/*) argument="--load-extension=$contents/Resources/${argument#--load-extension=./../Resources/}" ;;
    esac
    arguments+=("$argument")
done
set -- "${arguments[@]}"
'
# The app's Contents folder is made reachable inside the Flatpak. Flatpak reads ":" in a shared
# folder as the start of an access mode, so a folder holding one cannot be shared safely.
ENGINE_WRAPPER_FLATPAK='case $contents in
    *:* | *\\*)
        echo "${0##*/}: flatpak run cannot share a folder whose path holds : or \\: $contents" >&2
        exit 1 ;;
esac
command+=("--filesystem=$contents/Profile" "--filesystem=$contents/Resources:ro" "$application")
'

# PACKAGING of the engine path: snap, flatpak-system, flatpak-user or "" (a file to link to).
packaging_of() {
    case $1 in
        /snap/bin/?* | /var/lib/snapd/snap/bin/?*) PACKAGING=snap ;;
        */.local/share/flatpak/exports/bin/?*) PACKAGING=flatpak-user ;;
        */flatpak/exports/bin/?*) PACKAGING=flatpak-system ;;
        *) PACKAGING= ;;
    esac
}

# The text of a wrapper engine for $BROWSER.
wrapper_text() {
    _quoted=$(printf '%s\n' "$BROWSER" | sed "s/'/'\\\\''/g") || fail "cannot quote $BROWSER"
    _name=${BROWSER##*/}
    _quoted_name=$(printf '%s\n' "$_name" | sed "s/'/'\\\\''/g") || fail "cannot quote $_name"
    case $PACKAGING in
        snap)
            WRAPPER="$ENGINE_WRAPPER_HEAD# The snap launcher picks the program by its own name.
command=('$_quoted')
$ENGINE_WRAPPER_FOLDERS$ENGINE_WRAPPER_TAIL" ;;
        flatpak-*)
            WRAPPER="$ENGINE_WRAPPER_HEAD# The browser is a Flatpak, run in its sandbox.
application='$_quoted_name'
command=(flatpak run --${PACKAGING#flatpak-})
$ENGINE_WRAPPER_FOLDERS$ENGINE_WRAPPER_FLATPAK$ENGINE_WRAPPER_TAIL" ;;
    esac
}

build_wrapper() {
    wrapper_text
    if [ -f "$ENGINE" ] && [ ! -L "$ENGINE" ] && [ "$(cat "$ENGINE")
" = "$WRAPPER" ]; then
        return 0
    fi
    if [ -d "$ENGINE" ] && [ ! -L "$ENGINE" ]; then
        fail "$ENGINE is a folder"
    fi
    mkdir -p "$CONTENTS/MacOS" || fail "cannot create $CONTENTS/MacOS"
    use_temp "$CONTENTS/MacOS/.engine.$$.tmp"
    if ! printf '%s' "$WRAPPER" >"$TMPFILE" || ! chmod 755 "$TMPFILE" || ! mv -f "$TMPFILE" "$ENGINE"; then
        fail "cannot write $ENGINE"
    fi
    printf 'Engine for %s starts the %s browser %s\n' "$APP_NAME" "$PACKAGING" "$BROWSER"
}

# Linux: there is no browser bundle; the engine is a link to the browser's real binary, which
# finds its own files through /proc/self/exe and keeps the link's name on its command line.
build_linux() {
    if [ ! -f "$BROWSER" ] || [ ! -x "$BROWSER" ]; then
        fail "no engine executable at $BROWSER"
    fi
    packaging_of "$BROWSER"
    if [ -n "$PACKAGING" ]; then
        build_wrapper
        return
    fi
    # -ef: the link leads to the browser's file (the same one, whichever path named it).
    if [ -L "$ENGINE" ] && [ "$ENGINE" -ef "$BROWSER" ]; then
        return 0
    fi
    if [ -d "$ENGINE" ] && [ ! -L "$ENGINE" ]; then
        fail "$ENGINE is a folder"
    fi
    # Each tool run is a process; only `ln` is always needed.
    if [ ! -d "$CONTENTS/MacOS" ]; then
        mkdir -p "$CONTENTS/MacOS" || fail "cannot create $CONTENTS/MacOS"
    fi
    if [ -e "$ENGINE" ] || [ -L "$ENGINE" ]; then
        rm -f "$ENGINE"
    fi
    ln -s "$BROWSER" "$ENGINE" || fail "cannot link $ENGINE"
    printf 'Engine for %s linked to %s\n' "$APP_NAME" "$BROWSER"
}

# --- macOS -----------------------------------------------------------------------------------

# Keys of the browser's Info.plist the app never takes over: the updater's, link and document
# claims, exported types, and icons (the app has its own icon.icns). Keys starting with KS or SU
# (the browsers' updaters) are dropped too.
DROPPED_KEYS=" CFBundleURLTypes NSUserActivityTypes CFBundleDocumentTypes DTSDKBuild DTSDKName DTXcode\
 DTXcodeBuild KSChannelID-full KSProductID KSUpdateURL KSVersion CFBundleIcons CFBundleIcons~mac\
 CFBundleIconName CFBundleIconFiles CFBundleIconFile UTExportedTypeDeclarations\
 UTImportedTypeDeclarations OSAScriptingDefinition SMPrivilegedExecutables "

# SIGNATURE: inode, size and modification time of a file (GNU or BSD stat), "none" when missing.
STAT_FORMAT=
signature() {
    if [ -z "$STAT_FORMAT" ]; then
        if stat -c %i / >/dev/null 2>&1; then STAT_FORMAT=gnu; else STAT_FORMAT=bsd; fi
    fi
    if [ "$STAT_FORMAT" = gnu ]; then
        SIGNATURE=$(stat -L -c '%i:%s:%Y' "$1" 2>/dev/null) || SIGNATURE=none
    else
        SIGNATURE=$(stat -L -f '%i:%z:%m' "$1" 2>/dev/null) || SIGNATURE=none
    fi
}

# LIST: the names in a folder, each after a slash (no process started).
list_entries() {
    LIST=
    for _entry in "$1"/*; do
        if [ -e "$_entry" ] || [ -L "$_entry" ]; then
            LIST="$LIST/${_entry##*/}"
        fi
    done
}

# STATE: everything the engine is built from. The stamp holds the state of the last build.
engine_state() {
    list_entries "$SOURCE/Frameworks"
    _frameworks=$LIST
    LIST=
    if [ -n "$FRAMEWORK_DIR" ]; then
        list_entries "$FRAMEWORK_DIR/Versions"
    fi
    _versions=$LIST
    list_entries "$SOURCE/Versions"
    _legacy=$LIST
    _helpers=no
    if [ -e "$SOURCE/Helpers" ]; then
        _helpers=yes
    fi
    signature "$EXECUTABLE"
    _executable=$SIGNATURE
    signature "$ENGINE"
    _engine=$SIGNATURE
    signature "$CONTENTS/Info.plist"
    STATE="format=1
app=$APP_NAME
names=$DISPLAY_NAME/$SHORT_NAME
browser=$BROWSER
executable=$EXECUTABLE@$_executable
frameworks=$_frameworks
versions=$_versions
legacy=$_legacy
helpers=$_helpers
engine=$_engine
info=$SIGNATURE"
}

# Points <link> at <target>; something at <link> that is not a link is the app's own and stays.
link_entry() {
    if [ -L "$2" ]; then
        if [ "$(readlink "$2")" = "$1" ]; then
            return 0
        fi
        rm -f "$2"
    elif [ -e "$2" ]; then
        warn "$2 is not a link; left as it is"
        return 0
    fi
    ln -s "$1" "$2" || fail "cannot link $2"
}

# awk helpers: escaping for XML text and for a quoted strings-file value, literal replacement.
AWK_FUNCTIONS='
function xml(s,   i, c, out) {
    out = ""
    for (i = 1; i <= length(s); i++) {
        c = substr(s, i, 1)
        if (c == "&") c = "&amp;"
        else if (c == "<") c = "&lt;"
        else if (c == ">") c = "&gt;"
        out = out c
    }
    return out
}
function quoted(s,   i, c, out) {
    out = ""
    for (i = 1; i <= length(s); i++) {
        c = substr(s, i, 1)
        if (c == "\\" || c == "\"") out = out "\\"
        out = out c
    }
    return out
}
function replace_all(s, from, to,   out, p) {
    if (from == "") return s
    out = ""
    while ((p = index(s, from)) > 0) {
        out = out substr(s, 1, p - 1) to
        s = substr(s, p + length(from))
    }
    return out s
}
'

# Renames the app in one strings file: the CFBundleDisplayName and CFBundleName values become the
# app name, and so does the browser's display name in other values (permission prompts).
# SN_FORMAT is text (old-style key = "value"; lines) or xml (a property list).
RENAME_PROGRAM='
BEGIN {
    format = ENVIRON["SN_FORMAT"]
    name = format == "xml" ? xml(ENVIRON["SN_APP_NAME"]) : quoted(ENVIRON["SN_APP_NAME"])
    display = ENVIRON["SN_DISPLAY_NAME"]
    pending = 0
}
{
    line = $0
    bom = ""
    if (NR == 1 && substr(line, 1, 3) == "\357\273\277") {
        bom = substr(line, 1, 3)
        line = substr(line, 4)
    }
    if (format == "xml") {
        if (line ~ /^[ \t]*<key>CFBundle(Display)?Name<\/key>[ \t]*$/) {
            pending = 1
        } else if (pending && match(line, /<string>[^<]*<\/string>/)) {
            line = substr(line, 1, RSTART - 1) "<string>" name "</string>" substr(line, RSTART + RLENGTH)
            pending = 0
        } else {
            line = replace_all(line, display, name)
            pending = 0
        }
    } else if (match(line, /^[ \t]*"?CFBundle(Display)?Name"?[ \t]*=[ \t]*"([^"\\]|\\.)*"/)) {
        eq = index(line, "=")
        quote = eq + index(substr(line, eq + 1), "\"")
        line = substr(line, 1, quote - 1) "\"" name "\"" substr(line, RLENGTH + 1)
    } else {
        line = replace_all(line, display, name)
    }
    print bom line
}'

# Writes the browser's strings file <source> as the app's <destination>, in the encoding it has
# (UTF-8, UTF-16 with its byte-order mark, or a property list).
rewrite_strings() {
    use_temp "$2.$$.tmp"
    _head=$(od -An -tx1 -N6 "$1" | tr -d ' \n')
    _format=text
    case $_head in
        fffe*) tail -c +3 "$1" | iconv -f UTF-16LE -t UTF-8 >"$TMPFILE.in" ;;
        feff*) tail -c +3 "$1" | iconv -f UTF-16BE -t UTF-8 >"$TMPFILE.in" ;;
        62706c697374) _format=xml; plutil -convert xml1 -o "$TMPFILE.in" "$1" ;;
        3c3f786d6c20) _format=xml; cp "$1" "$TMPFILE.in" ;;
        *) cp "$1" "$TMPFILE.in" ;;
    esac || fail "cannot read $1"
    SN_FORMAT=$_format SN_APP_NAME=$APP_NAME SN_DISPLAY_NAME=$DISPLAY_NAME \
        awk "$AWK_FUNCTIONS$RENAME_PROGRAM" "$TMPFILE.in" >"$TMPFILE.out" || fail "cannot rewrite $1"
    case $_head in
        fffe*) { printf '\377\376' && iconv -f UTF-8 -t UTF-16LE "$TMPFILE.out"; } >"$TMPFILE" ;;
        feff*) { printf '\376\377' && iconv -f UTF-8 -t UTF-16BE "$TMPFILE.out"; } >"$TMPFILE" ;;
        62706c697374) plutil -convert binary1 -o "$TMPFILE" "$TMPFILE.out" ;;
        *) mv -f "$TMPFILE.out" "$TMPFILE" ;;
    esac || fail "cannot write $2"
    if cmp -s "$TMPFILE" "$2"; then
        rm -f "$TMPFILE"
    else
        mv -f "$TMPFILE" "$2" || fail "cannot write $2"
    fi
}

# Top-level entries of the browser's Info.plist that the app's lacks go into the app's Info.plist,
# with the browser's display name in their texts replaced by the app name; nothing Sorvane wrote
# there changes. Both files are read as plutil's XML, in which top-level keys sit one tab deep
# and the root dictionary closes on a line of its own.
MERGE_PROGRAM='
function keyname(l) { sub(/^\t<key>/, "", l); sub(/<\/key>.*$/, "", l); return l }
BEGIN {
    dropped = ENVIRON["SN_DROPPED_KEYS"]
    display = xml(ENVIRON["SN_DISPLAY_NAME"])
    name = xml(ENVIRON["SN_APP_NAME"])
    count = 0
}
FNR == NR {
    if ($0 ~ /^\t<key>/) { count++; keys[count] = keyname($0); text[count] = $0; inside = 1; next }
    if ($0 == "</dict>") { inside = 0; next }
    if (inside) text[count] = text[count] "\n" replace_all($0, display, name)
    next
}
{
    if ($0 ~ /^\t<key>/) have[keyname($0)] = 1
    if ($0 == "</dict>") {
        for (i = 1; i <= count; i++) {
            k = keys[i]
            if ((k in have) || index(dropped, " " k " ") || k ~ /^(KS|SU)[A-Z]/) continue
            print text[i]
        }
    }
    print
}'

merge_info_plist() {
    _info=$CONTENTS/Info.plist
    if [ ! -f "$_info" ] || [ ! -f "$SOURCE/Info.plist" ]; then
        return 0
    fi
    if ! command -v plutil >/dev/null 2>&1; then
        warn "plutil not found; $_info left as it is"
        return 0
    fi
    use_temp "$_info.$$.tmp"
    if ! plutil -convert xml1 -o "$TMPFILE.browser" "$SOURCE/Info.plist" >/dev/null ||
        ! plutil -convert xml1 -o "$TMPFILE.app" "$_info" >/dev/null; then
        warn "cannot read the property lists; $_info left as it is"
        return 0
    fi
    SN_DROPPED_KEYS=$DROPPED_KEYS SN_APP_NAME=$APP_NAME SN_DISPLAY_NAME=$DISPLAY_NAME \
        awk "$AWK_FUNCTIONS$MERGE_PROGRAM" "$TMPFILE.browser" "$TMPFILE.app" >"$TMPFILE" ||
        fail "cannot merge $_info"
    if cmp -s "$TMPFILE" "$TMPFILE.app"; then
        return 0
    fi
    if ! plutil -lint -s "$TMPFILE" >/dev/null; then
        warn "the merged property list is not valid; $_info left as it is"
        return 0
    fi
    mv -f "$TMPFILE" "$_info" || fail "cannot write $_info"
}

# macOS: the engine is cloned into the app's own bundle. The browser's executable is copied (not
# linked) to Contents/MacOS/"<name> Engine": it finds its framework through ../Frameworks (or
# ../Versions) next to itself, which are links into the browser, and signing the app signs the
# copy rather than the browser's own file. Its property list is the app's Info.plist.
build_mac() {
    case $BROWSER in
        */Contents/MacOS/*) if [ -f "$BROWSER" ]; then BROWSER=${BROWSER%/Contents/MacOS/*}; fi ;;
    esac
    BROWSER=${BROWSER%/}
    SOURCE=$BROWSER/Contents
    [ -d "$SOURCE" ] || fail "no browser at $BROWSER"

    EXECUTABLE=$SOURCE/MacOS/$DISPLAY_NAME
    if [ ! -f "$EXECUTABLE" ]; then
        EXECUTABLE=
        for _entry in "$SOURCE/MacOS"/*; do
            if [ -f "$_entry" ] && [ -x "$_entry" ]; then
                EXECUTABLE=$_entry
                break
            fi
        done
    fi
    [ -n "$EXECUTABLE" ] || fail "no browser executable in $SOURCE/MacOS"

    # The catalogue's framework name first; browsers of one family differ (Canary has its own).
    FRAMEWORK_DIR=
    for _entry in "$SOURCE/Frameworks/$FRAMEWORK_NAME" "$SOURCE/Frameworks/$DISPLAY_NAME Framework.framework" \
        "$SOURCE/Frameworks"/*" Framework.framework"; do
        if [ -d "$_entry" ]; then
            FRAMEWORK_DIR=$_entry
            break
        fi
    done
    if [ -z "$FRAMEWORK_DIR" ] && [ ! -d "$SOURCE/Versions" ]; then
        fail "no browser framework in $BROWSER"
    fi

    STAMP=$RESOURCES/engine.stamp
    engine_state
    if [ -f "$STAMP" ] && [ -f "$ENGINE" ] && [ "$(cat "$STAMP")" = "$STATE" ]; then
        if [ -z "$FRAMEWORK_DIR" ] || [ -e "$CONTENTS/Frameworks/${FRAMEWORK_DIR##*/}" ]; then
            return 0
        fi
    fi

    # A renamed app leaves the engine of its old name behind.
    if [ -f "$STAMP" ]; then
        _old=$(sed -n 's/^app=//p' "$STAMP")
        case $_old in
            '' | */* | "$APP_NAME") ;;
            *) rm -f "$CONTENTS/MacOS/$_old Engine" ;;
        esac
    fi

    if [ -d "$SOURCE/Frameworks" ]; then
        if [ -L "$CONTENTS/Frameworks" ]; then
            rm -f "$CONTENTS/Frameworks"
        fi
        mkdir -p "$CONTENTS/Frameworks" || fail "cannot create $CONTENTS/Frameworks"
        for _entry in "$SOURCE/Frameworks"/*; do
            if [ -e "$_entry" ]; then
                link_entry "$_entry" "$CONTENTS/Frameworks/${_entry##*/}"
            fi
        done
    fi
    # Links to what the browser no longer has, or to another browser the app used before.
    for _entry in "$CONTENTS/Frameworks"/*; do
        if [ -L "$_entry" ] && { [ ! -e "$_entry" ] || [ ! -e "$SOURCE/Frameworks/${_entry##*/}" ]; }; then
            rm -f "$_entry"
        fi
    done
    if [ ! -d "$SOURCE/Frameworks" ]; then
        rmdir "$CONTENTS/Frameworks" 2>/dev/null
    fi
    for _entry in Versions Helpers; do
        if [ -e "$SOURCE/$_entry" ]; then
            link_entry "$SOURCE/$_entry" "$CONTENTS/$_entry"
        elif [ -L "$CONTENTS/$_entry" ]; then
            rm -f "$CONTENTS/$_entry"
        fi
    done

    mkdir -p "$CONTENTS/MacOS" || fail "cannot create $CONTENTS/MacOS"
    if [ -L "$ENGINE" ] || ! cmp -s "$EXECUTABLE" "$ENGINE"; then
        use_temp "$CONTENTS/MacOS/.engine.$$.tmp"
        cp -p "$EXECUTABLE" "$TMPFILE" || fail "cannot copy $EXECUTABLE"
        if [ -L "$ENGINE" ]; then
            rm -f "$ENGINE"
        fi
        mv -f "$TMPFILE" "$ENGINE" || fail "cannot write $ENGINE"
    fi

    for _lproj in "$SOURCE/Resources"/*.lproj; do
        if [ -f "$_lproj/InfoPlist.strings" ]; then
            mkdir -p "$RESOURCES/${_lproj##*/}" || fail "cannot create $RESOURCES/${_lproj##*/}"
            rewrite_strings "$_lproj/InfoPlist.strings" "$RESOURCES/${_lproj##*/}/InfoPlist.strings"
        fi
    done

    merge_info_plist

    engine_state
    use_temp "$STAMP.$$.tmp"
    if ! printf '%s\n' "$STATE" >"$TMPFILE" || ! mv -f "$TMPFILE" "$STAMP"; then
        fail "cannot write $STAMP"
    fi
    printf 'Engine for %s built from %s\n' "$APP_NAME" "$BROWSER"
}

case $PLATFORM in
    mac) build_mac ;;
    linux) build_linux ;;
    *) fail "unknown platform: $PLATFORM" ;;
esac
exit 0
