# Reading of a registry export (UTF-8, line feeds): what the other two programs share.
# Calls on_key(path) and on_value(path, name, data) for each line, wrapped byte lists joined.

FNR == 1 { path = ""; held = "" }
{ line = held $0; held = "" }
line ~ /^[^"@]/ && line !~ /^\[/ { next }
line ~ /=hex[^"]*,\\$/ { # wrapped: goes on in the next line, behind two blanks
    held = substr(line, 1, length(line) - 1)
    while ((getline more) > 0) {
        sub(/^ +/, "", more)
        if (more ~ /\\$/) { held = held substr(more, 1, length(more) - 1); continue }
        line = held more
        held = ""
        break
    }
}
line ~ /^\[/ { path = substr(line, 2, length(line) - 2); on_key(path); next }
path != "" && match(line, /^("([^"\\]|\\.)*"|@)=/) {
    on_value(path, substr(line, 1, RLENGTH - 1), substr(line, RLENGTH + 1))
}
