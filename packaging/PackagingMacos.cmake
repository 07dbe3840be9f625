# The bundle and its installer package. The bundle's Contents has the shape that the program expects:
#
#   Contents/MacOS/       the installation directory: images; the program, which an installation copies there once more
#   Contents/setup/       what an installation copies from: program, backend, PPD
#   Contents/Frameworks/  the client library, and Qt by macdeployqt
#   Contents/Helpers/     the agent

set(varek_contents "/Library/Printers/Varek/Varek Print.app/Contents")

set(varek_configurations)
foreach(name varek.ini varek.de.ini varek.es.ini varek.fr.ini)
  file(READ ${varek_packaging}/config/${name} text)
  string(REPLACE "libvrc.so" "libvrc.dylib" text "${text}")
  file(WRITE ${PROJECT_BINARY_DIR}/packaging/${name} "${text}")
  list(APPEND varek_configurations ${PROJECT_BINARY_DIR}/packaging/${name})
endforeach()
configure_file(${varek_packaging}/macos/Info.plist.in ${PROJECT_BINARY_DIR}/packaging/Info.plist @ONLY)

install(TARGETS vrp varek-backend RUNTIME DESTINATION "${varek_contents}/setup")
# A bundle without its executable is none, for macdeployqt among others.
install(TARGETS vrp RUNTIME DESTINATION "${varek_contents}/MacOS")
install(TARGETS varek-agent RUNTIME DESTINATION "${varek_contents}/Helpers")
install(TARGETS vrc vrc_library LIBRARY DESTINATION "${varek_contents}/Frameworks")
install(FILES ${varek_packaging}/ppd/Varek.ppd DESTINATION "${varek_contents}/setup")
install(FILES ${varek_images} DESTINATION "${varek_contents}/MacOS")
install(FILES ${PROJECT_BINARY_DIR}/packaging/Info.plist DESTINATION "${varek_contents}")
install(FILES ${varek_configurations} DESTINATION "${varek_contents}/Resources")
install(FILES ${varek_packaging}/config/backend.conf DESTINATION /etc/varek)
install(FILES ${varek_packaging}/macos/org.varek.agent.plist DESTINATION /Library/LaunchAgents)

find_program(VAREK_MACDEPLOYQT macdeployqt)
if(VAREK_MACDEPLOYQT)
  install(CODE "execute_process(COMMAND \"${VAREK_MACDEPLOYQT}\"
    \"\$ENV{DESTDIR}/Library/Printers/Varek/Varek Print.app\"
    \"-executable=\$ENV{DESTDIR}${varek_contents}/setup/vrp\" COMMAND_ERROR_IS_FATAL ANY)")
endif()

set(CPACK_GENERATOR productbuild)
set(CPACK_SET_DESTDIR ON)
set(CPACK_PRODUCTBUILD_IDENTIFIER org.varek.print)
set(CPACK_POSTFLIGHT_SCRIPT ${varek_packaging}/macos/postinstall)
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
