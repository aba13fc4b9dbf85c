# Reads a configuration file and then its uncommitted changes (/tmp/.uci/PKG), and runs the command in
# the environment: get prints the value at path, show prints the whole file, delta checks
# path=value and prints the change line for it.

# Splits a line into word[1..n]. Joins adjacent pieces of bare text, '...' and "...".
function split_words(line,    i, c, quote, open, n) {
    n = 0; quote = ""; open = 0
    for (i = 1; i <= length(line); i++) {
        c = substr(line, i, 1)
        if (quote == "" && c == "#") break
        if (quote == "" && c ~ /[ \t\r]/) { open = 0; continue }
        if (!open) { word[++n] = ""; open = 1 }
        if (quote == "" && (c == "'" || c == "\"")) quote = c
        else if (c == quote) quote = ""
        else {
            if (c == "\\" && quote != "'") c = substr(line, ++i, 1)
            word[n] = word[n] c
        }
    }
    return n
}

function quoted(text) { gsub(/'/, "'\\''", text); return "'" text "'" }

function open_section(name, type) {
    if (!(name in types)) sections[++section_count] = name
    types[name] = type
}

function assign(section, option, value, is_list,    key) {
    key = section SUBSEP option
    if (!(key in count)) { options[++option_count] = key; count[key] = 0 }
    if (!is_list) count[key] = value == "" ? 0 : 1
    else count[key]++
    if (count[key] > 0) values[key, count[key]] = value
    lists[key] = is_list
}

# Applies one change line: -p.s.o, -p.s, p.s='type', p.s.o='value' or |p.s.o='value'.
function change(line,    sign, at, path, value) {
    if (split_words(line) != 1) return
    line = word[1]
    sign = line ~ /^[-|]/ ? substr(line, 1, 1) : ""
    line = substr(line, length(sign) + 1)
    at = index(line, "=")
    path = at ? substr(line, 1, at - 1) : line
    value = at ? substr(line, at + 1) : ""
    if (split(path, part, ".") == 3 && part[2] in types)
        assign(part[2], part[3], sign == "-" ? "" : value, sign == "|")
    else if (sign == "-") delete types[part[2]]
    else if (sign == "" && at) open_section(part[2], value)
}

FILENAME ~ /^\/tmp\/\.uci\// { change($0); next }
{ n = split_words($0) }
n >= 2 && word[1] == "config" {
    section = n > 2 ? word[3] : "@" ++anonymous
    open_section(section, word[2])
}
n >= 3 && (word[1] == "option" || word[1] == "list") {
    assign(section, word[2], word[3], word[1] == "list")
}

function get(key,    i, text) {
    if (count[key] == 0) return 0
    for (i = 1; i <= count[key]; i++) text = text (i > 1 ? " " : "") values[key, i]
    print text
    return 1
}

function show(    i, j, k, name, key) {
    for (i = 1; i <= section_count; i++) {
        name = sections[i]
        if (!(name in types)) continue
        print (i > 1 ? "\n" : "") "config " types[name] (name ~ /^@/ ? "" : " " quoted(name))
        for (j = 1; j <= option_count; j++) {
            key = options[j]
            split(key, part, SUBSEP)
            for (k = 1; part[1] == name && k <= count[key]; k++)
                print "\t" (lists[key] ? "list " : "option ") part[2] " " quoted(values[key, k])
        }
    }
}

END {
    path = ENVIRON["path"]
    at = index(path, "=")
    value = at ? substr(path, at + 1) : ""
    if (at) path = substr(path, 1, at - 1)
    split(path, part, ".")
    known = part[2] in types
    if (ENVIRON["command"] == "show") show()
    else if (!known) exit 1
    else if (ENVIRON["command"] == "get") exit !get(part[2] SUBSEP part[3])
    else print value == "" ? "-" path : path "=" quoted(value)
}
