# A tree of files copied by treecopy, once to its end and once stopped on the way; the host's own
# tools say whether that is true. A part of scripts/demo.

treecopy() { scripts/wine.sh build/mingw-x64/bin/treecopy.exe "$@" </dev/null; }
copy=$work/copy
tree=$WINEPREFIX/drive_c/windows/system32

step "8. A tree of files copied by four workers"
rm -rf "$copy"
treecopy 'C:\windows\system32' "$(windows_path "$copy")" >"$work/copied.txt" || fail "treecopy"
say "treecopy: $(tr -d '\r' <"$work/copied.txt")"
diff -r "$tree" "$copy" >/dev/null || fail "the copy isn't the tree"
say "diff: the two trees are the same"

step "9. The same, stopped by Ctrl+C"
rm -rf "$copy"
code=0
timeout --preserve-status -s INT 0.6 scripts/wine.sh build/mingw-x64/bin/treecopy.exe --workers 1 \
    'C:\windows\system32' "$(windows_path "$copy")" </dev/null >"$work/stopped.txt" || code=$?
[ "$code" = 4 ] || [ "$code" = 0 ] || fail "treecopy ended with $code"
say "treecopy: $(tr -d '\r' <"$work/stopped.txt")"
whole=0
while read -r file; do
    cmp -s "$tree/$file" "$copy/$file" || fail "$file is torn"
    whole=$((whole + 1))
done < <(cd "$copy" && find . -type f)
say "cmp: all $whole files that are there are whole"
rm -rf "$copy"
