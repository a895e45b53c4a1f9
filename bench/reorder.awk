# Reorders the pieces of a file that begin with a line that matches `first` and end with one that matches `last`:
# falling (the last one first) or shuffled, the same each time. They must follow one another.
function put(    i, j, kept) {
    for (i = 1; i <= count; i++) {
        if (order == "shuffled") {
            j = i + int(rand() * (count - i + 1))
            kept = piece[i]
            piece[i] = piece[j]
            piece[j] = kept
        }
        printf "%s", piece[order == "falling" ? count + 1 - i : i]
    }
    count = 0
}
BEGIN { srand(1) }
!inside && $0 ~ first {
    inside = 1
    piece[++count] = ""
}
!inside {
    put()
    print
    next
}
{
    piece[count] = piece[count] $0 "\n"
    if ($0 ~ last) inside = 0
}
END { put() }
