# For Doxygen: a plain comment above members of a class heads them, up to the next one or the next section.
function close_group() { if (open) print "    /// @}"; open = 0 }
function head_group() {
    close_group()
    title = text
    if (match(title, /[.:;] /)) title = substr(title, 1, RSTART - 1)
    sub(/[.:]$/, "", title)
    print "    /// @name " title
    print "    /// " text
    print "    /// @{"
    open = 1
    text = ""
}
/^    \/\/ / && (text != "" || previous ~ /^$|^public:|^protected:|\{$/) {
    line = $0
    sub(/^    \/\/ /, "", line)
    text = text == "" ? line : text " " line
    print ""
    previous = $0
    next
}
text != "" { head_group() }
/^(public|protected|private):|^};/ { close_group() }
{ print; previous = $0 }
