# The bundle and its installer package. The bundle's Contents has the shape that the program expects:
#
#   Contents/MacOS/       the installation directory: images; the program comes from an installation
#   Contents/setup/       what an installation copies from: program, backend, PPD
#   Contents/Frameworks/  the client library, and Qt by macdeployqt
#   Contents/Helpers/     the agent

set(varek_contents "/Library/Printers/Varek/Varek Print.app/Contents")

file(READ ${varek_packaging}/config/varek.ini varek_ini)
string(REPLACE "libvrc.so" "libvrc.dylib" varek_ini "${varek_ini}")
file(WRITE ${PROJECT_BINARY_DIR}/packaging/varek.ini "${varek_ini}")
configure_file(${varek_packaging}/macos/Info.plist.in ${PROJECT_BINARY_DIR}/packaging/Info.plist @ONLY)

install(TARGETS vrp varek-backend RUNTIME DESTINATION "${varek_contents}/setup")
install(TARGETS varek-agent RUNTIME DESTINATION "${varek_contents}/Helpers")
install(TARGETS vrc vrc_library LIBRARY DESTINATION "${varek_contents}/Frameworks")
install(FILES ${varek_packaging}/ppd/Varek.ppd DESTINATION "${varek_contents}/setup")
install(FILES ${varek_images} DESTINATION "${varek_contents}/MacOS")
install(FILES ${PROJECT_BINARY_DIR}/packaging/Info.plist DESTINATION "${varek_contents}")
install(FILES ${PROJECT_BINARY_DIR}/packaging/varek.ini ${varek_packaging}/config/varek.de.ini
  ${varek_packaging}/config/varek.es.ini ${varek_packaging}/config/varek.fr.ini
  DESTINATION "${varek_contents}/Resources")
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
