# Changes about one property in ten of a metabase that makeMetabase wrote, and keeps the types: a third of the
# properties are inherited and KeyType can't be written, so that it takes three of twenty of the other lines.
/^  / && $1 != "KeyType" && $1 != "MimeMap" && $1 != "IPSecurity" && n++ % 20 % 7 == 0 {
    if ($2 == "true") sub(/true$/, "false")
    else if ($2 == "false") sub(/false$/, "true")
    else if ($2 ~ /^["[]/) sub(/"/, "\"x")
    else $0 = $0 "1"
}
{ print }
