# vorn_plugin_area(NAME SOURCES file... LIBRARIES library...): a folder of the plug-in as the object library
# panasonic_NAME, whose objects go into the plug-in and into the programs that test it.
function(vorn_plugin_area NAME)
  cmake_parse_arguments(AREA "" "" "SOURCES;LIBRARIES" ${ARGN})
  add_library(panasonic_${NAME} OBJECT ${AREA_SOURCES})
  target_link_libraries(panasonic_${NAME} PUBLIC vorn_host vorn_operations ${AREA_LIBRARIES})
  list(LENGTH AREA_SOURCES source_count)
  if(source_count GREATER 4) # precompiling costs as much as it saves in four
    target_precompile_headers(panasonic_${NAME} PRIVATE ${VORN_COMMON_HEADERS})
  endif()
  set_target_properties(panasonic_${NAME} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
endfunction()
