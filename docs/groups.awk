# For Doxygen, which wants a comment for each member, while a header has one for a run of them:
# - a plain comment above members of a class heads them, up to the next one or the next section;
# - a member without a comment has that of the member right above it, or that of its heading, unless it
#   is one that says enough by itself;
# - a plain comment behind a member is its own.
function close_group() { if (open) print "    /// @}"; open = 0; heading = "" }
function head_group() {
    close_group()
    title = text
    if (match(title, /[.:;] /)) title = substr(title, 1, RSTART - 1)
    sub(/[.:]$/, "", title)
    print "    /// @name " title
    print "    /// " text
    print "    /// @{\n"
    open = 1
    heading = "    /// " text
    doc[4] = heading
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
/^class / { hidden = 1 }
/^struct |^(public|protected):/ { hidden = 0 }
/^private:/ { hidden = 1 }
/^(class|struct|enum) |^(public|protected|private):/ { delete doc }
{
    match($0, /^ */)
    indent = RLENGTH
    if ($0 == "") {
        delete doc
        doc[4] = heading
    }
    else if ($0 ~ /^ *\/\/\/ /) {
        if (!commented) doc[indent] = ""
        doc[indent] = doc[indent] (doc[indent] == "" ? "" : "\n") $0
        commented = 1
    }
    else if (!hidden && (indent == 4 || indent == 8) && $0 ~ /^ *[A-Za-z~]/ && ended) {
        if ($0 ~ /[;,] *\/\/ /) sub(/\/\/ /, "///< ")
        else if (!commented && $0 ~ /^ *(virtual )?~/) print "    /// Releases what the object holds."
        else if (!commented && $0 ~ /&& [a-z]+\)/) print "    /// Takes what the other one holds."
        else if (!commented && doc[indent] != "" && $0 !~ /\/\/\/</) print doc[indent]
        if ($0 ~ /\/\/\/</) doc[indent] = ""
        commented = 0
    }
    else if ($0 !~ /^ *\/\//) commented = 0
    if ($0 !~ /^ *\/\// && $0 != "") ended = $0 ~ /([;{}:]|\/\/.*)$/
    print
    previous = $0
}
