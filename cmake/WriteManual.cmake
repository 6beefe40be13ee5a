# The help of a program as a manual page: its words as they stand.
file(READ "${HELP}" help)
string(REPLACE "\\" "\\e" help "${help}")
string(REPLACE "-" "\\-" help "${help}")
string(REGEX REPLACE "(^|\n)([.'])" "\\1\\\\&\\2" help "${help}")
string(TOUPPER "${NAME}" title)
string(REPLACE "-" "\\-" dashed "${NAME}")
file(WRITE "${PAGE}" ".TH ${title} ${SECTION} \"\" \"SYClient ${VERSION}\"
.SH NAME
${dashed} \\- ${SUMMARY}
.SH DESCRIPTION
.nf
${help}
.fi
")
