# Filters a header for Doxygen: prints the header, and after it the summary for the list of headers. That is the first
# sentence of the comment on what has the header's name, or else on what comes first.
FNR == 1 {
    own = "^(class|struct) .*" substr(FILENAME, match(FILENAME, /[^\/]*\.h$/), RLENGTH - 2)
}
# Doxygen finds no class of an inner namespace as the argument of a template of the outer one.
/^class / {
    sub(/RefCounted<I/, "RefCounted<Core::I")
}
{
    print
}
/^\/\/\// {
    if (!inside) {
        sentence = ""
        ended = 0
    }
    inside = 1
    if (/^\/\/\/$/ || /```/) {
        ended = 1
    }
    if (!ended) {
        sentence = sentence substr($0, 4)
        ended = sub(/^ \\name /, " ", sentence) || match(sentence, /\.( |$)/)
    }
    next
}
inside && (about == "" || $0 ~ own) {
    about = sentence
}
{
    inside = 0
}
END {
    sub(/(:|\.( .*)?)$/, "", about)
    print "/// \\file\n///" about "."
}
