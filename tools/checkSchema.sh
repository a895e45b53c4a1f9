#!/bin/sh
# checkSchema.sh BUILD-FOLDER: checks docs/backup.rng with xmllint, or the VALIDATOR of the environment, such as jing. The
# schema must accept the backups of 200 random servers and of the sample with values of every type, and refuse each of
# the damaged copies below, which are all well-formed. The folder holds a build of the program and of bench/makeMetabase.
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
    ${VALIDATOR:-xmllint --noout --relaxng} "$schema" "$1" >messages 2>&1
}
fail() {
    printf '%s\n' "$*" >&2
    cat messages >&2
    exit 1
}

for seed in $(seq 200); do
    "$makeMetabase" random "$seed" >metabase.txt
    backUp
    validate copy.xml || fail "The schema refuses the backup of the random server $seed:"
done

# The least and the greatest value of each type, and values with a special text.
cat "$sample" - >metabase.txt <<'END'
property Edges string list local []
property Objects mime list local mime()
class IIsEdges leaf nodeleteops () (Edges, Objects)
object "localhost/dates" IIsEdges
  Edges [date:0100-01-01T00:00:00, date:2000-02-29T23:59:59, date:9999-12-31T08:30:00, date:0.123, date:-657435, date:nan]
object "localhost/floats" IIsEdges
  Edges [r4:-0, r4:1e-45, r4:3.4028235e+38, r4:-inf, r4:nan, r8:0.1, r8:5e-324, r8:1.7976931348623157e+308, r8:inf, r8:-nan]
object "localhost/currencies" IIsEdges
  Edges [cy:-922337203685477.5808, cy:922337203685477.5807, cy:12.5]
object "localhost/decimals" IIsEdges
  Edges [decimal:-79228162514264337593543950335, decimal:0.0000000000000000000000000001, decimal:-1.20, decimal:0]
object "localhost/integers" IIsEdges
  Edges [i1:-128, i1:127, i2:-32768, i2:32767, -2147483648, 2147483647, i8:-9223372036854775808, i8:9223372036854775807]
object "localhost/others" IIsEdges
  Edges [empty, null, "", " 1 ", true, false, bool:1, bytes:, bytes:00FF, error:-2147483648, hresult:2147483647]
  Objects mime("a" "b", "c" "d")
object "localhost/unsigned" IIsEdges
  Edges [ui1:0, ui1:255, ui2:65535, ui4:4294967295, ui8:18446744073709551615, int:-2147483648, uint:4294967295]
END
backUp
validate copy.xml || fail "The schema refuses the backup of the sample server with values of every type:"

# What sed changes in a copy.
refused=0
refuse() {
    sed -n "$1" copy.xml >damaged.xml
    : >messages
    ! cmp -s copy.xml damaged.xml || fail "This changes nothing: $1"
    xmllint --noout damaged.xml 2>messages || fail "After this the copy is not well-formed: $1"
    ! validate damaged.xml || fail "The schema accepts the copy after: $1"
    refused=$((refused + 1))
}

# The number of a type, and texts that no value of the type has. They replace the texts of the values above.
while IFS='|' read -r type texts; do
    texts="$texts|"
    while [ -n "$texts" ]; do
        refuse "s|\(<prop type=\"$type\">\)[^<]*|\1${texts%%|*}|;p"
        texts=${texts#*|}
    done
done <<'END'
0|0
1|null
2|32768
3||2o|0x10|1,000|1.5|99999999999
4||1,5
5|1e|INF
6||1.23456|922337203685477.5808|-922337203685477.5809
7||1998-07-14|1998-07-14 08:30:00|1998-13-14T08:30:00|1998-02-29T08:30:00|1998-07-14T24:00:00|1998-07-14T08:60:00|1998-07-14T08:30:60|1998-07-14T08:30:00Z|1998-07-14T08:30:00.5|0099-07-14T08:30:00|10000-07-14T08:30:00|14.7.1998
9|x
10|4294967295
11||True|yes|1|tru
14||1e5|0.00000000000000000000000000001
16|128
17|256|-1
18|65536
19|4294967296
20|9223372036854775808
21|18446744073709551616
22|2147483648
23|-1
25|2147483648
8209|00FF
END

while read -r change; do
    refuse "$change"
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
s/ type="8"/ type="12"/;p
s/ type="8"/ type="99"/;p
s/<prop type=/<prop inherited="true" type=/;p
s/<obj /<obj id="1" /;p
s/<props>/<props>text/;p
s/<children>/<children>text/;p
s/<\/proplist>/text<\/proplist>/;p
s/<\/metabase>/text<\/metabase>/;p
s/<\/metabase>/<obj name="a" class="b" path="IIS:\/\/c"><props\/><children\/><\/obj><\/metabase>/;p
END
echo "The schema accepts 201 backups and refuses $refused damaged ones."
