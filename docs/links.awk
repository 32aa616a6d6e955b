# For Doxygen: names of classes in the text of a page become links to their reference.
function link_names(line,    out, name, before, after, ticked) {
    while (match(line, /(GM|CWindow)[A-Z][A-Za-z0-9]*(::[A-Z][A-Za-z0-9]*)?/)) {
        name = substr(line, RSTART, RLENGTH)
        before = RSTART > 1 ? substr(line, RSTART - 1, 1) : " "
        after = substr(line, RSTART + RLENGTH, 1)
        ticked = before == "`" && after == "`"
        if (name != "GMRegInstallBothViews" && (ticked || (before ~ /[ (]/ && after !~ /[\/.`(][A-Za-z]|[\/`(_]/))) {
            out = out substr(line, 1, RSTART - 1 - ticked) "[" name "](@ref Velmora::" name ")"
            line = substr(line, RSTART + RLENGTH + ticked)
        } else {
            out = out substr(line, 1, RSTART + RLENGTH - 1)
            line = substr(line, RSTART + RLENGTH)
        }
    }
    return out line
}
/^```/ { code = !code }
{ print code || /^    |^#/ ? $0 : link_names($0) }
