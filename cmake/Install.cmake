# What an installation holds, and the Debian package made of it.

include(GNUInstallDirs)

set(id com.ovrelin.Pairdeck)
set(icons ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
set(packaging ${PROJECT_SOURCE_DIR}/packaging)
set(drawing ${PROJECT_SOURCE_DIR}/resources/images/Pairdeck.svg)

install(TARGETS pairdeck RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${packaging}/${id}.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${packaging}/${id}.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(
  FILES ${drawing}
  DESTINATION ${icons}/scalable/apps
  RENAME ${id}.svg)

# What is made at build time: the icon's sizes, and compressed files as Debian wants them, without a
# time stamp.
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

find_program(PAIRDECK_GZIP gzip REQUIRED)
set(doc ${CMAKE_INSTALL_DATADIR}/doc/pairdeck)
macro(install_compressed source name destination)
  add_custom_command(
    OUTPUT ${made}/${name}.gz
    COMMAND ${PAIRDECK_GZIP} -9nc ${source} > ${made}/${name}.gz
    DEPENDS ${source}
    VERBATIM)
  list(APPEND outputs ${made}/${name}.gz)
  install(FILES ${made}/${name}.gz DESTINATION ${destination})
endmacro()
install_compressed(${packaging}/pairdeck.1 pairdeck.1 ${CMAKE_INSTALL_MANDIR}/man1)
install_compressed(${packaging}/changelog changelog.Debian ${doc})
install_compressed(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog ${doc})
install(FILES ${packaging}/copyright DESTINATION ${doc})
add_custom_target(packaging_files ALL DEPENDS ${outputs})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME pairdeck)
set(CPACK_PACKAGE_VENDOR "the Pairdeck authors")
set(CPACK_PACKAGE_CONTACT "Pairdeck maintainers <maintainers@ovrelin.com>")
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "desktop music player with two independent decks")
# The description's lines carry no indent; the generator gives them Debian's.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Pairdeck plays two songs at once, one in each ear: two decks side by side in
one see-through window, each with its own library, search and transport. The
left deck plays into the right ear, the right deck into the left one.
.
It plays mp3 and m4a files, shows their artwork over its own blur, steers by
keyboard, and speaks to screen readers.")
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# What the program links, from its own binary; what it loads by name, by hand.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "fonts-inter, hicolor-icon-theme, libqt6svg6")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
    "qt6-wayland, qt6-image-formats-plugins, pipewire-pulse | pulseaudio, at-spi2-core")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "playerctl")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_SOURCE_GENERATOR TXZ)
set(CPACK_SOURCE_PACKAGE_FILE_NAME pairdeck-${PROJECT_VERSION})
set(CPACK_SOURCE_IGNORE_FILES "/build/" "/\\\\.git" "/\\\\.cache/" "__pycache__")
include(CPack)
