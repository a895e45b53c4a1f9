#!/bin/sh
# checkSchema.sh BUILD-FOLDER: checks docs/backup.rng with xmllint. The schema must accept the sample's backup and those of
# 200 random servers, and refuse each of the damaged copies below, which are all well-formed. The folder holds a build
# of the program and of bench/makeMetabase.
set -eu
program=$(cd "$1" && pwd)/skeinKeep
makeMetabase=$(cd "$1" && pwd)/bench/makeMetabase
cd "$(dirname "$0")/.."
schema=$PWD/docs/backup.rng
sample=$PWD/samples/metabase.txt
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# Makes copy.xml, the backup of metabase.txt with its encoding declared.
backUp() {
    "$program" -backup -file backup.xml
    sed '1s/ ?>/ encoding="ISO-8859-1"?>/' backup.xml >copy.xml
}
validate() {
    xmllint --noout --relaxng "$schema" "$1" 2>messages
}
fail() {
    echo "$*" >&2
    cat messages >&2
    exit 1
}

for seed in $(seq 200); do
    "$makeMetabase" random "$seed" >metabase.txt
    backUp
    validate copy.xml || fail "The schema refuses the backup of the random server $seed:"
done
cp "$sample" metabase.txt
backUp
validate copy.xml || fail "The schema refuses the backup of the sample server:"

# What sed changes in a copy, one script a line.
refused=0
while read -r change; do
    sed -n "$change" copy.xml >damaged.xml
    : >messages
    ! cmp -s copy.xml damaged.xml || fail "This changes nothing: $change"
    xmllint --noout damaged.xml 2>messages || fail "After this the copy is not well-formed: $change"
    ! validate damaged.xml || fail "The schema accepts the copy after: $change"
    refused=$((refused + 1))
done <<'END'
/<children>$/{N;/<\/children>$/d};p
s/<unsupported\/>//;p
/name="GrantByDefault"/!p
/<mimetype/!p;/<mimetype/s/mimetype.*/mimetype extension=".x"\/>/p
/name="GrantByDefault"/{h;d};p;/name="IPGrant"/{x;/./p;s/.*//;x}
/<props>$/{N;s/\(.*\)\n\(.*<prop .*<\/prop>\)/\2\n\1/};p
s/<\(\/*\)props>/<\1Props>/;p
s/<\(\/*\)children>/<\1child>/;p
s/<\(\/*\)obj\b/<\1object/;p
s/<\(\/*\)proplist\b/<\1list/;p
s/<prop \(.*\)<\/prop>/<property \1<\/property>/;p
s/<mimetype /<mime /;p
s/<\(\/*\)metabase\b/<\1backup/;p
s/ version="1.0.0"//;p
s/ version="1.0.0"/ version="2.0.0"/;p
s/<obj name="[^"]*"/<obj/;p
s/\(<obj .*\) class="[^"]*"/\1/;p
s/\(<obj .*\) path="[^"]*"/\1/;p
s/<prop name="[^"]*" type="8"/<prop type="8"/;p
s/ type="3"//;p
s/<proplist name="[^"]*"/<proplist/;p
s/ extension="[^"]*"//;p
s/ inherited="true"/ inherited="false"/;p
s/ type="3"/ type="three"/;p
s/ type="3"/ type="65536"/;p
s/<prop type=/<prop inherited="true" type=/;p
s/<obj /<obj id="1" /;p
s/<props>/<props>text/;p
s/<children>/<children>text/;p
s/<\/proplist>/text<\/proplist>/;p
s/<\/metabase>/text<\/metabase>/;p
s/<\/metabase>/<obj name="a" class="b" path="IIS:\/\/c"><props\/><children\/><\/obj><\/metabase>/;p
END
echo "The schema accepts 201 backups and refuses $refused damaged ones."
