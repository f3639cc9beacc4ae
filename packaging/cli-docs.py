#!/usr/bin/env python3
"""Writes sorvane's manual page and shell completions from what `sorvane --help --json` prints.

The help texts the program prints are the one source: every command, option, value name and
description here comes from them, so the page and the completions cannot drift from the program.

    cli-docs.py SORVANE VERSION DATE MAN_PAGE BASH_COMPLETION FISH_COMPLETION
"""

import json
import subprocess
import sys

# Value names whose values are folders or files (the same names the program checks).
FOLDER_VALUES = {"DIR"}
FILE_VALUES = {"FILE"}
# Positional arguments that name something on disk.
PATH_POSITIONALS = {"file", "bundle", "path", "folder"}
# Positional arguments that name an app: completed with the names `sorvane list` prints (the first
# of its tab-separated fields when piped), or as a path once the word looks like one.
APP_POSITIONALS = {"app"}


def long_name(option):
    return max(option["names"], key=len)


def dashed(name):
    return ("-" if len(name) == 1 else "--") + name


def escaped(text):
    """Text inside a roff line: backslashes and hyphens escaped."""
    return text.replace("\\", "\\e").replace("-", "\\-")


def roff(text):
    """A whole roff text line: escaped, and never read as a request."""
    text = escaped(text)
    return "\\&" + text if text.startswith((".", "'")) else text


def option_heading(option):
    names = ", ".join("\\fB" + roff(dashed(name)) + "\\fR" for name in option["names"])
    value = option.get("value")
    return names + (" \\fI" + roff(value) + "\\fR" if value else "")


def usage_line(command):
    words = command["usage"].split(" ")
    return " ".join(["\\fB" + escaped(" ".join(words[:2])) + "\\fR"] + [escaped(word) for word in words[2:]])


def man_page(doc, version, date):
    lines = [
        '.TH SORVANE 1 "%s" "Sorvane %s" "User Commands"' % (date, version),
        ".SH NAME",
        "sorvane \\- " + roff(doc["description"].rstrip(".").lower()),
        ".SH SYNOPSIS",
        ".B sorvane",
        ".I command",
        ".RI [ options ]",
        ".br",
        ".B sorvane",
        ".I command",
        ".B \\-\\-help",
        ".RB [ \\-\\-json ]",
        ".SH DESCRIPTION",
        roff(doc["description"]),
        "Each command takes the options listed under it; every command exits 0 on success,"
        " 1 on failure and 2 on bad usage.",
        ".SH OPTIONS",
    ]
    for option in doc["options"]:
        lines += [".TP", option_heading(option), roff(option["description"])]
    # What every command takes is said once.
    shared = [option for option in doc["commands"][0]["options"]
              if all(option in command["options"] for command in doc["commands"])]
    lines += [".SH COMMON OPTIONS", "Every command takes these options."]
    for option in shared:
        lines += [".TP", option_heading(option), roff(option["description"])]
    lines.append(".SH COMMANDS")
    for command in doc["commands"]:
        lines += [".SS " + roff(command["command"]), ".nh", usage_line(command), ".hy", ".PP",
                  roff(command["description"])]
        for positional, text in zip(command["positionals"], command.get("positionalDescriptions", [])):
            lines += [".TP", "\\fI" + roff(positional) + "\\fR", roff(text)]
        for option in command["options"]:
            if option not in shared:
                lines += [".TP", option_heading(option), roff(option["description"])]
    lines += [
        ".SH SEE ALSO",
        ".BR sorvane\\-desktop (1)",
        "",
    ]
    return "\n".join(lines)


def shell_words(words):
    return " ".join(words)


def bash_completion(doc):
    commands = [command["command"] for command in doc["commands"]]
    top = commands + [dashed(long_name(option)) for option in doc["options"]]
    out = [
        "# bash completion for sorvane, made from `sorvane --help --json`.",
        "_sorvane()",
        "{",
        '    local cur="${COMP_WORDS[COMP_CWORD]}" prev="${COMP_WORDS[COMP_CWORD-1]}"',
        "    if [ \"$COMP_CWORD\" -eq 1 ]; then",
        '        COMPREPLY=($(compgen -W "%s" -- "$cur"))' % shell_words(top),
        "        return",
        "    fi",
        "    local options='' values='' folders='' files='' paths=0 apps=0",
        '    case "${COMP_WORDS[1]}" in',
    ]
    for command in doc["commands"]:
        options, values, folders, files = [], [], [], []
        for option in command["options"]:
            for name in option["names"]:
                options.append(dashed(name))
                if option.get("value"):
                    values.append(dashed(name))
                    if option["value"] in FOLDER_VALUES:
                        folders.append(dashed(name))
                    elif option["value"] in FILE_VALUES:
                        files.append(dashed(name))
        paths = int(any(p.lower() in PATH_POSITIONALS for p in command["positionals"]))
        apps = int(any(p.lower() in APP_POSITIONALS for p in command["positionals"]))
        out += [
            "        %s)" % command["command"],
            "            options='%s'" % shell_words(options),
            "            values=' %s '" % shell_words(values),
            "            folders=' %s ' files=' %s ' paths=%d apps=%d ;;"
            % (shell_words(folders), shell_words(files), paths, apps),
        ]
    out += [
        "        *) return ;;",
        "    esac",
        '    if [[ "$values" == *" $prev "* ]]; then',
        '        if [[ "$folders" == *" $prev "* ]]; then',
        '            COMPREPLY=($(compgen -d -- "$cur"))',
        '        elif [[ "$files" == *" $prev "* ]]; then',
        '            COMPREPLY=($(compgen -f -- "$cur"))',
        "        fi",
        "        return",
        "    fi",
        '    if [[ "$cur" == -* ]]; then',
        '        COMPREPLY=($(compgen -W "$options" -- "$cur"))',
        '    elif [ "$apps" -eq 1 ] && [[ "$cur" != */* && "$cur" != .* && "$cur" != "~"* ]]; then',
        # -o filenames quotes the names' spaces; what was typed is matched without its backslashes.
        '        local name typed="${cur//\\\\/}"',
        "        while IFS=$'\\t' read -r name _; do",
        '            [[ "$name" == "$typed"* ]] && COMPREPLY+=("$name")',
        '        done < <("${COMP_WORDS[0]}" list 2>/dev/null)',
        '    elif [ "$paths" -eq 1 ] || [ "$apps" -eq 1 ]; then',
        '        COMPREPLY=($(compgen -f -- "$cur"))',
        "    fi",
        "}",
        "complete -o filenames -F _sorvane sorvane",
        "",
    ]
    return "\n".join(out)


def fish_quoted(text):
    return "'" + text.replace("\\", "\\\\").replace("'", "\\'") + "'"


def fish_completion(doc):
    out = ["# fish completion for sorvane, made from `sorvane --help --json`.", "complete -c sorvane -f"]
    for option in doc["options"]:
        out.append("complete -c sorvane -n __fish_use_subcommand -l %s -d %s"
                   % (long_name(option), fish_quoted(option["description"])))
    for command in doc["commands"]:
        name = command["command"]
        out.append("complete -c sorvane -n __fish_use_subcommand -a %s -d %s"
                   % (name, fish_quoted(command["description"])))
        condition = fish_quoted("__fish_seen_subcommand_from " + name)
        if any(p.lower() in PATH_POSITIONALS for p in command["positionals"]):
            out.append("complete -c sorvane -n %s -F" % condition)
        if any(p.lower() in APP_POSITIONALS for p in command["positionals"]):
            names = "(command sorvane list 2>/dev/null | string replace -r '\\t.*' '')"
            out.append("complete -c sorvane -n %s -F -a %s -d app" % (condition, fish_quoted(names)))
        for option in command["options"]:
            flags = " ".join(("-s " if len(n) == 1 else "-l ") + n for n in option["names"])
            value = option.get("value")
            kind = ""
            if value in FOLDER_VALUES:
                kind = " -r -a '(__fish_complete_directories)'"
            elif value in FILE_VALUES:
                kind = " -r -F"
            elif value:
                kind = " -r"
            out.append("complete -c sorvane -n %s %s%s -d %s"
                       % (condition, flags, kind, fish_quoted(option["description"])))
    out.append("")
    return "\n".join(out)


def main(argv):
    if len(argv) != 7:
        sys.exit(__doc__.strip().splitlines()[-1].strip())
    program, version, date, man, bash, fish = argv[1:]
    try:
        printed = subprocess.run([program, "--help", "--json"], check=True, capture_output=True, timeout=60).stdout
        doc = json.loads(printed)
        if not doc.get("commands"):
            raise ValueError("it names no command")
    except (OSError, subprocess.SubprocessError, ValueError) as error:
        sys.exit("cli-docs.py: %s --help --json gave no command description: %s" % (program, error))
    for path, text in ((man, man_page(doc, version, date)), (bash, bash_completion(doc)),
                       (fish, fish_completion(doc))):
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)


if __name__ == "__main__":
    main(sys.argv)
