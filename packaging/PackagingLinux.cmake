# Two Debian packages: varek-print for every desktop, varek-server for the machine that documents go to.

set(varek_lib /usr/lib/varek)

# varek_compressed(OUTPUT-NAME FILE): the file, compressed without its time as Debian's documents are, in the build tree.
function(varek_compressed name file)
  set(result ${PROJECT_BINARY_DIR}/packaging/${name})
  add_custom_command(OUTPUT ${result}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/packaging
    COMMAND gzip -9nc ${file} > ${result}
    DEPENDS ${file} VERBATIM)
  set_property(GLOBAL APPEND PROPERTY varek_compressed_files ${result})
endfunction()

foreach(page vrp.1 varek-agent.1 varek-backend.8 vrserver.8)
  varek_compressed(${page}.gz ${varek_packaging}/man/${page})
endforeach()
varek_compressed(changelog.gz ${varek_packaging}/debian/changelog)
get_property(varek_compressed_files GLOBAL PROPERTY varek_compressed_files)
add_custom_target(varek_documents ALL DEPENDS ${varek_compressed_files})

# varek_install(COMPONENT DESTINATION FILES...)
function(varek_install component destination)
  install(FILES ${ARGN} DESTINATION ${destination} COMPONENT ${component})
endfunction()

# The package for desktops.
install(TARGETS vrp varek-backend RUNTIME DESTINATION ${varek_lib}/setup COMPONENT print)
install(TARGETS varek-agent RUNTIME DESTINATION /usr/bin COMPONENT print)
install(TARGETS vrc vrc_library LIBRARY DESTINATION ${varek_lib}/Frameworks COMPONENT print
  PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
install(PROGRAMS ${varek_packaging}/linux/vrp.sh DESTINATION /usr/bin RENAME vrp COMPONENT print)
varek_install(print ${varek_lib}/setup ${varek_packaging}/ppd/Varek.ppd)
varek_install(print ${varek_lib}/bin ${varek_images})
varek_install(print /etc/varek ${varek_packaging}/config/varek.ini ${varek_packaging}/config/backend.conf)
varek_install(print /usr/share/varek-print ${varek_packaging}/config/varek.de.ini ${varek_packaging}/config/varek.es.ini
  ${varek_packaging}/config/varek.fr.ini)
varek_install(print /usr/lib/systemd/user ${varek_packaging}/linux/varek-agent.path
  ${varek_packaging}/linux/varek-agent.service)
varek_install(print /etc/xdg/autostart ${varek_packaging}/linux/varek-agent.desktop)
varek_install(print /usr/share/applications ${varek_packaging}/linux/varek-print.desktop)
varek_install(print /usr/share/metainfo ${varek_packaging}/linux/org.varek.Print.metainfo.xml)
varek_install(print /usr/share/icons/hicolor/scalable/apps ${varek_packaging}/images/varek-print.svg)
varek_install(print /usr/share/icons/hicolor/128x128/apps ${varek_packaging}/images/varek-print.png)
varek_install(print /usr/share/man/man1 ${PROJECT_BINARY_DIR}/packaging/vrp.1.gz
  ${PROJECT_BINARY_DIR}/packaging/varek-agent.1.gz)
varek_install(print /usr/share/man/man8 ${PROJECT_BINARY_DIR}/packaging/varek-backend.8.gz)
varek_install(print /usr/share/doc/varek-print ${varek_packaging}/debian/copyright
  ${PROJECT_BINARY_DIR}/packaging/changelog.gz)

install(FILES ${varek_packaging}/debian/varek-print.lintian-overrides DESTINATION /usr/share/lintian/overrides
  RENAME varek-print COMPONENT print)

# The program knows one path of the backends on both systems; on Debian they are elsewhere. The path unit is enabled for
# everybody by a link. Links are relative, as Debian wants them.
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/packaging/links)
file(CREATE_LINK ../../lib/cups/backend ${PROJECT_BINARY_DIR}/packaging/links/backend SYMBOLIC)
file(CREATE_LINK ../varek-agent.path ${PROJECT_BINARY_DIR}/packaging/links/varek-agent.path SYMBOLIC)
varek_install(print /usr/libexec/cups ${PROJECT_BINARY_DIR}/packaging/links/backend)
varek_install(print /usr/lib/systemd/user/graphical-session.target.wants
  ${PROJECT_BINARY_DIR}/packaging/links/varek-agent.path)

# The package for servers.
if(TARGET vrserver)
  install(TARGETS vrserver RUNTIME DESTINATION /usr/sbin COMPONENT server)
  varek_install(server /usr/share/man/man8 ${PROJECT_BINARY_DIR}/packaging/vrserver.8.gz)
  varek_install(server /usr/share/doc/varek-server ${varek_packaging}/debian/copyright
    ${PROJECT_BINARY_DIR}/packaging/changelog.gz)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_SET_DESTDIR ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "virtual printer whose settings are chosen in a portal")
set(CPACK_COMPONENTS_ALL print)
if(TARGET vrserver)
  list(APPEND CPACK_COMPONENTS_ALL server)
endif()
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${VAREK_FRAMEWORKS_DIR})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_PRINT_PACKAGE_NAME varek-print)
set(CPACK_DEBIAN_PRINT_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PRINT_PACKAGE_DEPENDS "cups-daemon, cups-client, cups-filters")
# The toolkit's translations name the buttons of the message boxes.
set(varek_toolkit_translations_5 qttranslations5-l10n)
set(varek_toolkit_translations_6 qt6-translations-l10n)
set(CPACK_DEBIAN_PRINT_PACKAGE_RECOMMENDS "libnotify-bin, xdg-utils, ${varek_toolkit_translations_${VAREK_QT}}")
set(CPACK_COMPONENT_PRINT_DESCRIPTION "Varek Print adds a printer queue. A document printed to it goes to a print
server, whose portal opens in the browser: copies, paper, colour, duplex and
stapling are chosen there.
.
This package holds the program, its CUPS backend and the agent that sends
documents from the user's desktop session.")
set(CPACK_DEBIAN_PRINT_PACKAGE_CONTROL_EXTRA
  ${varek_packaging}/debian/postinst ${varek_packaging}/debian/prerm ${varek_packaging}/debian/postrm
  ${varek_packaging}/debian/conffiles)

set(CPACK_DEBIAN_SERVER_PACKAGE_NAME varek-server)
set(CPACK_DEBIAN_SERVER_PACKAGE_SECTION net)
set(CPACK_COMPONENT_SERVER_DESCRIPTION "This package holds the reference application server: the directory, upload and
portal services for one machine, to which the clients of the package
varek-print connect.")

set(varek_packaged vrp varek-backend varek-agent varek_documents)
if(TARGET vrserver)
  list(APPEND varek_packaged vrserver)
endif()
add_custom_target(packages COMMAND ${CMAKE_CPACK_COMMAND} -G DEB DEPENDS ${varek_packaged} VERBATIM)
