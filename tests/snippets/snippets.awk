# Makes one program of the C++ snippets of documents: each runs in a scope of its own, in their order.
#   awk -f snippets.awk README.md docs/*.md > snippets.cpp
FNR == 1 { inside = 0 }
/^```cpp$/ { inside = 1; body = sprintf("#line %d \"%s\"\n", FNR + 1, FILENAME); next }
/^```$/ && inside {
    inside = 0
    name = FILENAME
    sub(/.*\//, "", name)
    bodies = bodies sprintf("    Begin(\"%s, snippet %d\");\n    {\n%s    }\n", name, ++count[name], body)
    next
}
inside && /^#include/ { if (!($0 in seen)) { seen[$0] = 1; includes = includes $0 "\n" } next }
inside { body = body $0 "\n" }
END {
    printf "%s#include \"tests/snippets/Prelude.h\"\n\nusing namespace Velmora;\n\n", includes
    printf "int main()\n{\n    Prepare();\n%s    return Finish();\n}\n", bodies
}
