# Prints what a registry holds after an export and, if there is one, a change set behind it: a line
# a key and a line a value, for sort and cmp. Keys of 32-bit programs are left out: some of them are
# other names of keys that come here by their own.

function is_left_out(key) { return key ~ /\\Wow6432Node(\\|$)/ }

function on_key(key,    above) {
    if (is_left_out(key)) return
    if (sub(/^-/, "", key)) {
        delete held_key[key]
        for (each in data_of) if (index(each, key "\t") == 1) delete data_of[each]
        return
    }
    for (above = key; above != "" && !(above in held_key); sub(/\\?[^\\]*$/, "", above))
        if (above ~ /\\.*\\/ || above == key) held_key[above] = 1
}
function on_value(key, name, data) {
    if (is_left_out(key)) return
    if (data == "-") delete data_of[key "\t" name]
    else data_of[key "\t" name] = data
}
END {
    for (each in held_key) print each
    for (each in data_of) print each "\t" data_of[each]
}
