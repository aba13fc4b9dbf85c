# Reads a configuration file whose values are one word, or one text in quotes. Prints the value at path,
# which is in the environment. With change there too, prints the file with the value instead; an empty
# value removes the option.
BEGIN { split(ENVIRON["path"], part, "."); change = ENVIRON["change"] }

# Returns the text after the first two words, without its quotes.
function text(    rest) {
    rest = $0
    sub(/^[ \t]*[^ \t]+[ \t]+[^ \t]+[ \t]*/, "", rest)
    sub(/[ \t\r]+$/, "", rest)
    gsub(/^['"]|['"]$/, "", rest)
    return rest
}

$1 == "config" { inside = text() == part[2]; if (inside) known = 1 }
inside && ($1 == "option" || $1 == "list") && $2 == part[3] {
    found = ($1 == "option" || found == "" ? "" : found " ") text()
    next
}
change { print }
change && inside && $1 == "config" && ENVIRON["value"] != "" {
    print "\toption " part[3] " '" ENVIRON["value"] "'"
}
END {
    if (change) exit !known
    if (found == "") exit 1
    print found
}
