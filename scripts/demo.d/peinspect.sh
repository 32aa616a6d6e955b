# Real 32-bit files looked at by peinspect: what they need and what is missing. The host's own tools
# say whether that is true. A part of scripts/demo.

peinspect() { scripts/wine.sh build/mingw-x64/bin/peinspect.exe "$@" </dev/null; }
real=build/real-files/32

# needs FILE: what it needs at its start, in lower case, out of a report in JSON.
needs() {
    python3 - "$1" <<'END'
import json, sys
file, *libraries = json.load(open(sys.argv[1], encoding="utf-8"))["libraries"]
later = {each["name"] for each in libraries if each["atFirstUse"]}
print("\n".join(sorted({name.lower() for name in file["needs"] if name not in later})))
END
}

step "10. What real programs need, told by peinspect"
scripts/real-files
mapfile -t files < <(find $real -name '*.exe' -o -name '*.dll' | sort | awk 'NR % 5 == 1')
for file in "${files[@]}"; do
    peinspect "$(windows_path "$PWD/$file")" --json >"$work/report.json" ||
        [ $? = 1 ] || fail "peinspect $file"
    python3 -m json.tool "$work/report.json" >/dev/null || fail "the report on $file isn't JSON"
    needs "$work/report.json" >"$work/needs.txt"
    tr '[:upper:]' '[:lower:]' <"$file.imports" | sort -u | diff "$work/needs.txt" - ||
        fail "objdump names other libraries for $file"
done
say "objdump: ${#files[@]} files looked at, each needs just what its report says"
say "python3: each report is JSON"

step "11. A library is taken away"
game=$work/game
rm -rf "$game"
mkdir "$game"
for name in libquadmath-0 libgcc_s_dw2-1 libwinpthread-1; do
    cp -L "$real/$name.dll" "$game"
done
peinspect "$(windows_path "$game/libquadmath-0.dll")" >"$work/whole.txt" || fail "something is missing"
say "peinspect: $(head -1 "$work/whole.txt" | tr -d '\r')"
rm "$game/libwinpthread-1.dll"
code=0
peinspect "$(windows_path "$game/libquadmath-0.dll")" >"$work/missing.txt" || code=$?
[ "$code" = 1 ] || fail "peinspect ended with $code"
say "without libwinpthread-1.dll it ends with 1 and shows so:"
tr -d '\r' <"$work/missing.txt" | sed '/^note/d; s/^/      | /'
head -1 "$work/missing.txt" | grep -q '^missing: libwinpthread-1.dll (.*via libgcc_s_dw2-1.dll)' ||
    fail "the missing library doesn't come first"

step "12. Icons saved by peinspect"
if [ -d build/real-files/icons/winemine.exe ]; then
    saved=$work/icons
    rm -rf "$saved"
    mkdir -p "$saved/ours" "$saved/theirs"
    peinspect "$(windows_path "$PWD/$real/winemine.exe")" --icon "$(windows_path "$saved/mine.ico")" \
        --png "$(windows_path "$saved/mine.png")" >"$work/icons.txt" || fail "peinspect winemine.exe"
    # The directories of the two icon files differ in fields that nobody reads; the images don't.
    icotool -x -o "$saved/ours" "$saved/mine.ico"
    for icon in build/real-files/icons/winemine.exe/*.ico; do
        cp "$icon" "$saved/mine.ico"
        icotool -x -o "$saved/theirs" "$saved/mine.ico"
    done
    diff -r "$saved/ours" "$saved/theirs" || fail "wrestool finds other images in winemine.exe"
    say "wrestool: the $(find "$saved/ours" -type f | wc -l) images of the icon file are those of winemine.exe"
    python3 - "$saved/mine.png" <<'END' || fail "the picture is damaged"
import struct, sys, zlib
png = open(sys.argv[1], "rb").read()
assert png[:8] == b"\x89PNG\r\n\x1a\n"
at, pixels = 8, b""
while at < len(png):
    size, kind = struct.unpack_from(">I4s", png, at)
    data = png[at + 8 : at + 8 + size]
    assert zlib.crc32(kind + data) == struct.unpack_from(">I", png, at + 8 + size)[0]
    pixels += data if kind == b"IDAT" else b""
    at += size + 12
width, height, bits, colours = struct.unpack_from(">IIBB", png, 16)
assert (bits, colours) == (8, 6) and len(zlib.decompress(pixels)) == (4 * width + 1) * height
print(f"  python3: the picture is a whole PNG of {width} x {height} pixels with an alpha channel")
END
else
    say "left out: without the 32-bit Wine there is no real file with an icon"
fi
