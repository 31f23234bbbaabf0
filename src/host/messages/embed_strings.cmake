# Writes the string table into a C++ source so the program carries its own copy.
file(READ "${INPUT}" content)
file(WRITE "${OUTPUT}" "// Generated from resources/strings.txt; do not edit.\nextern const char* const kBuiltInStringTable;\nconst char* const kBuiltInStringTable = R\"tcmstrings(${content})tcmstrings\";\n")
