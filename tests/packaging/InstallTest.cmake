# Installs below ROOT, as for a package, under a prefix that the build was not configured with; then what a desktop
# looks up has to be there, and to lead to the program.
cmake_policy(VERSION 3.25)

file(REMOVE_RECURSE ${ROOT})
set(ENV{DESTDIR} ${ROOT})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${PREFIX} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)

set(bin ${PREFIX}/${BINDIR})
set(share ${PREFIX}/${DATADIR})
set(name app.varnolet.Varnolet)

foreach(file
    ${bin}/varnolet
    ${bin}/varnolet-watchdog
    ${share}/applications/${name}.desktop
    ${share}/dbus-1/services/${name}.service
    ${share}/icons/hicolor/scalable/apps/${name}.svg
    ${share}/icons/hicolor/symbolic/apps/${name}-symbolic.svg
    ${share}/metainfo/${name}.metainfo.xml
    ${share}/varnolet/help/accessibility.html
    ${share}/varnolet/help/input-monitoring.html
    ${share}/varnolet/help/permissions.html)
  if(NOT EXISTS ${ROOT}${file})
    message(SEND_ERROR "Not installed: ${file}")
  endif()
endforeach()

function(expect_line file line)
  file(STRINGS ${ROOT}${file} lines)
  if(NOT line IN_LIST lines)
    message(SEND_ERROR "${file} lacks the line ${line}")
  endif()
endfunction()

expect_line(${share}/dbus-1/services/${name}.service "Name=${name}")
expect_line(${share}/dbus-1/services/${name}.service "Exec=${bin}/varnolet")
expect_line(${share}/applications/${name}.desktop "Icon=${name}")

file(READ ${ROOT}${share}/metainfo/${name}.metainfo.xml metainfo)
if(metainfo MATCHES "@[A-Z_]+@" OR NOT metainfo MATCHES "<url type=\"homepage\">https?://")
  message(SEND_ERROR "The metainfo is not filled in")
endif()
