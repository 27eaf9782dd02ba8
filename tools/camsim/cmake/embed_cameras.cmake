# Writes OUTPUT, a C++ file that holds every text file below CAMERAS under its path relative to that folder.

file(GLOB_RECURSE files RELATIVE ${CAMERAS} ${CAMERAS}/*.txt)
list(SORT files)
set(entries "")
foreach(name IN LISTS files)
  file(READ ${CAMERAS}/${name} content)
  string(APPEND entries "    {\"${name}\", R\"camsim(${content})camsim\"},\n")
endforeach()
file(WRITE ${OUTPUT}
  "#include \"model/embedded_cameras.h\"\n\nnamespace camsim {\n\n"
  "const std::map<std::string, std::string_view>& EmbeddedCameraFiles() {\n"
  "    static const std::map<std::string, std::string_view> files{\n${entries}    };\n"
  "    return files;\n}\n\n} // namespace camsim\n")
