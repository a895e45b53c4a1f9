# The tables of run.sh: reads its list of forms (name, objects, metabase bytes, backup bytes, changes), then its
# list of times (form, name, elapsed, user, system seconds, peak in kB) and its list of instructions (name, number).

NF == 2 { instructions[$1] = $2; next }
NF == 5 { objects[$1] = $2; metabaseSize[$1] = $3; backupSize[$1] = $4; changes[$1] = $5; form[++forms] = $1; next }

{
    run = $1 " " $2
    count[run]++
    elapsed[run, count[run]] = $3
    cpu[run, count[run]] = $4 + $5
    peak[run, count[run]] = $6
}

# The median of what one run took.
function median(values, run,    sorted, n, i, j) {
    n = count[run]
    for (i = 1; i <= n; i++) {
        for (j = i; j > 1 && sorted[j - 1] > values[run, i]; j--) sorted[j] = sorted[j - 1]
        sorted[j] = values[run, i]
    }
    return (sorted[int((n + 1) / 2)] + sorted[int(n / 2) + 1]) / 2
}

function row(text, run, reference,    time, work) {
    time = median(elapsed, run)
    work = median(cpu, run)
    printf "| %s | %.2f | %.2f | %s | %s | %.0f | %.0f |\n", text, time, work,
        reference == "" ? "" : sprintf("%.2f", time / median(elapsed, reference)),
        reference == "" ? "" : sprintf("%.2f", work / median(cpu, reference)),
        backupSize["W"] / 1e6 / time, median(peak, run) * 1024 / 1e6
}

# Microseconds of processor time for each object.
function perObject(name, run) { return median(cpu, run " " name) * 1e6 / objects[run] }

END {
    print "\nW, processor time with that of the system; the ratio is to the tool named after the run.\n"
    print "| run | time s | CPU s | time ratio | CPU ratio | MB/s | peak MB |"
    print "|---|---|---|---|---|---|---|"
    row("cat", "W cat")
    row("cp", "W cp")
    row("xmllint --noout", "W xmllint")
    row("xmlwf", "W xmlwf")
    row("-backup : xmllint", "W backup", "W xmllint")
    row("-restore -n, no difference : xmllint", "W same", "W xmllint")
    row("pugixml", "W utf8")
    row("pugixml, decoding Latin-1", "W latin1")
    row("loadXML alone : xmlwf", "W load", "W xmlwf")
    row("loadXML alone : pugixml", "W load", "W utf8")
    row("loadXML alone : pugixml, decoding Latin-1", "W load", "W latin1")
    row("-backup : xmlwf", "W backup", "W xmlwf")
    row("-restore -n, no difference : xmlwf", "W same", "W xmlwf")
    row("-restore, " changes["W"] " changes : no difference", "W changed", "W same")

    printf "\nPeak of a backup to the size of the metabase: %.2f; peak of a restore to that of xmllint: %.2f\n",
        median(peak, "W backup") * 1024 / metabaseSize["W"], median(peak, "W same") / median(peak, "W xmllint")

    print "\nCPU time for each object, in microseconds, and its ratio to that of W.\n"
    print "| form | objects | metabase MB | backup MB | -backup | | -restore -n | | -restore, changed | |"
    print "|---|---|---|---|---|---|---|---|---|---|"
    for (i = 1; i <= forms; i++) {
        printf "| %s | %d | %.1f | %.1f |", form[i], objects[form[i]], metabaseSize[form[i]] / 1e6,
            backupSize[form[i]] / 1e6
        split("backup same changed", names, " ")
        for (j = 1; j <= 3; j++) {
            name = names[j]
            printf " %.0f | %.2f |", perObject(name, form[i]), perObject(name, form[i]) / perObject(name, "W")
        }
        print ""
    }

    printf "\nA change takes %.1f microseconds more than no difference.\n",
        (median(cpu, "W changed") - median(cpu, "W same")) * 1e6 / changes["W"]

    print "\nInstructions on W10, counted by callgrind.\n"
    print "| run | millions | for each object |"
    print "|---|---|---|"
    split("load backup same own changed", names, " ")
    split("loadXML alone|-backup|-restore -n, no difference|-restore -n of a -noinherit file|-restore, changed", texts, "|")
    for (j = 1; j <= 5; j++) {
        number = instructions[names[j]]
        printf "| %s | %.0f | %.0f |\n", texts[j], number / 1e6, number / objects["W10"]
    }
}
