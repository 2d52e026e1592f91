# Prints the installed packages that the dependencies in the variable "wanted" lead to, one a line. It reads dpkg's
# status file. Of alternatives the first one installed counts.

# Notes one field of the package being read; what continues a line belongs to it.
/^[A-Z][A-Za-z-]*:/ {
    field = $1
    sub(/^[^:]*: */, "")
    if (field == "Package:") name = $0
    if (field == "Status:") installed[name] = / installed$/
    if (field == "Depends:" || field == "Pre-Depends:") needs[name] = needs[name] ", " $0
    if (field == "Provides:") provides[name] = $0
}

# The bare name of one dependency.
function bare(text) {
    sub(/^ */, "", text)
    sub(/[ (:].*/, "", text)
    return text
}

function add(dependencies,    groups, group, count, names, name, n, i) {
    count = split(dependencies, groups, ",")
    for (i = 1; i <= count; i++) {
        n = split(groups[i], names, "|")
        for (group = 1; group <= n; group++) {
            name = bare(names[group])
            if (!(installed[name])) name = provider[name]
            if (name == "") continue
            if (!(name in taken)) {
                taken[name] = 1
                print name
                add(needs[name])
            }
            break
        }
    }
}

END {
    for (name in installed) {
        count = split(provides[name], names, ",")
        for (i = 1; installed[name] && i <= count; i++) provider[bare(names[i])] = name
    }
    add(wanted)
}
