# Makes a change set from an export: new keys, changed values, removed values, removed keys.
# Counts go to the file that the variable `counts` names.

function on_key(key) { keys[++count] = key }
function on_value(key, name, data) { values[count] = values[count] name "=" data "\n" }

# Left alone: keys that the system's own tools need while the demo runs, and those of 32-bit programs,
# some of which are other names of keys that come elsewhere in the export.
function is_left_alone(key) {
    return key ~ /\\Wine(\\|$)|\\CurrentVersion|\\Cryptography|\\Wow6432Node(\\|$)/
}

# A text that the two sides of the exercise read alike: no line break in it, no foreign type.
function is_plain(data) { return data !~ /\\[nr]/ && data !~ /^hex\([^27]/ }

function changed(data, number) {
    if (data ~ /^"/) return "\"changed by the demo, number " number "\""
    if (data ~ /^dword:/) return sprintf("dword:%08x", number)
    if (data ~ /^hex\(2\):/) return "hex(2):25,00,54,00,45,00,4d,00,50,00,25,00,00,00"
    if (data ~ /^hex\(7\):/) return "hex(7):41,00,00,00,42,00,43,00,00,00,00,00"
    return sprintf("hex:%02x,%02x,ff", number % 256, int(number / 256) % 256)
}

function put_values(from, how,    lines, n, i, at, data) {
    n = split(values[from], lines, "\n")
    for (i = 1; i < n; ++i) {
        match(lines[i], /^("([^"\\]|\\.)*"|@)=/)
        at = RLENGTH
        data = substr(lines[i], at + 1)
        if (!is_plain(data)) continue
        if (how == "remove") data = "-"
        if (how == "change") data = changed(data, ++number)
        print substr(lines[i], 1, at) data
        ++done[how]
    }
    print ""
}

END {
    print "Windows Registry Editor Version 5.00\n"
    for (i = 2; i <= count; ++i) {
        if (is_left_alone(keys[i])) continue
        leaf = i == count || substr(keys[i + 1], 1, length(keys[i]) + 1) != keys[i] "\\"
        if (i % 25 == 7 && leaf) {
            print "[-" keys[i] "]\n"
            ++done["key removed"]
        } else if (i % 10 == 3) {
            print "[" keys[i] "]"
            put_values(i, "change")
        } else if (i % 20 == 11) {
            print "[" keys[i] "]"
            put_values(i, "remove")
        } else if (i % 10 == 5) {
            print "[" keys[1] "\\Velmora demo\\" substr(keys[i], length(keys[1]) + 2) "]"
            put_values(i, "copy")
            ++done["key copied"]
        }
    }
    printf "%d new keys with %d values, %d changed values, %d removed values, %d removed keys\n",
        done["key copied"], done["copy"], done["change"], done["remove"], done["key removed"] > counts
}
