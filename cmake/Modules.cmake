# varnolet_module(<target> <folder> [SOURCES ...] [LINK ...] [PRIVATE_LINK ...])
#
# A static library of one source folder whose headers are included as "<folder>/Name.h". The include path of a module
# holds links to its own headers only, so that a target sees exactly the modules that it links and a wrong include does
# not compile.
function(varnolet_module target folder)
  cmake_parse_arguments(MODULE "" "" "SOURCES;LINK;PRIVATE_LINK" ${ARGN})
  set(include_root ${CMAKE_BINARY_DIR}/include/${target})
  file(GLOB headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.h)
  file(REMOVE_RECURSE ${include_root})
  file(MAKE_DIRECTORY ${include_root}/${folder})
  foreach(header ${headers})
    get_filename_component(name ${header} NAME)
    file(CREATE_LINK ${header} ${include_root}/${folder}/${name} SYMBOLIC)
  endforeach()

  add_library(${target} STATIC ${MODULE_SOURCES})
  target_include_directories(${target} PUBLIC ${include_root})
  target_link_libraries(${target} PUBLIC ${MODULE_LINK} PRIVATE ${MODULE_PRIVATE_LINK} varnolet_warnings)
endfunction()
