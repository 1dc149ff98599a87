# What an installation holds. The version stands in the project alone: the manual page is made with
# it, and what else names one is checked.

set(id com.ovrelin.Pairdeck)
set(icons ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
set(packaging ${PROJECT_SOURCE_DIR}/packaging)
set(drawing ${PROJECT_SOURCE_DIR}/resources/images/Pairdeck.svg)

# check_version(file pattern): the first match of the pattern's group must be the project's version.
function(check_version file pattern)
  if(NOT EXISTS ${PROJECT_SOURCE_DIR}/${file})
    return()
  endif()
  file(READ ${PROJECT_SOURCE_DIR}/${file} text)
  string(REGEX MATCH "${pattern}" found "${text}")
  if(NOT CMAKE_MATCH_1 STREQUAL PROJECT_VERSION)
    message(FATAL_ERROR "${file} begins with version ${CMAKE_MATCH_1}, not ${PROJECT_VERSION}")
  endif()
endfunction()
check_version(packaging/${id}.metainfo.xml "<release version=\"([0-9.]+)\"")
check_version(debian/changelog "pairdeck \\(([0-9.]+)-")

configure_file(${packaging}/pairdeck.1.in pairdeck.1 @ONLY)
install(TARGETS pairdeck RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS pairdeck_sound pairdeck_wayland LIBRARY
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pairdeck)
install(FILES ${packaging}/${id}.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${packaging}/${id}.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/pairdeck.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${PROJECT_SOURCE_DIR}/CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(
  FILES ${drawing}
  DESTINATION ${icons}/scalable/apps
  RENAME ${id}.svg)

# The icon's sizes are made at build time.
set(made ${CMAKE_CURRENT_BINARY_DIR}/packaging)
file(MAKE_DIRECTORY ${made})
set(outputs)
find_program(PAIRDECK_RSVG rsvg-convert)
if(PAIRDECK_RSVG)
  foreach(size 16 24 32 48 64 128 256 512)
    set(output ${made}/${size}.png)
    add_custom_command(
      OUTPUT ${output}
      COMMAND ${PAIRDECK_RSVG} -w ${size} -h ${size} -o ${output} ${drawing}
      DEPENDS ${drawing}
      VERBATIM)
    list(APPEND outputs ${output})
    install(
      FILES ${output}
      DESTINATION ${icons}/${size}x${size}/apps
      RENAME ${id}.png)
  endforeach()
else()
  message(STATUS "No rsvg-convert: the installation has the scalable icon alone")
endif()
add_custom_target(packaging_files ALL DEPENDS ${outputs})
