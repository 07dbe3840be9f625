# What is installed where, and the packages that are made from it.
#
# Everything stands at a fixed place: the program finds its library beside its own folder, the queue, the units and the
# maintainer scripts name files by their absolute paths. On Linux:
#
#   /usr/lib/varek/setup/       what an installation copies from: program, backend, PPD
#   /usr/lib/varek/bin/         the installation directory: images; the program and "vrpconfig" come from an installation
#   /usr/lib/varek/Frameworks/  the client library
#   /etc/varek/                 configuration files

if(NOT TARGET varek-backend OR NOT TARGET vrc OR VAREK_SANITIZE OR VAREK_COVERAGE)
  return()
endif()

set(varek_packaging ${CMAKE_CURRENT_LIST_DIR})
set(varek_images
  ${varek_packaging}/images/logo.png
  ${varek_packaging}/images/cancel.png
  ${varek_packaging}/images/cancel-pressed.png
  ${varek_packaging}/images/vrp.ico)

set(CPACK_PACKAGE_NAME varek-print)
set(CPACK_PACKAGE_VENDOR "Varek Print authors")
set(CPACK_PACKAGE_CONTACT "Varek Print authors <maintainers@varek-print.org>")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_PREFIX /)
set(CPACK_VERBATIM_VARIABLES ON)
# Packing what was built does not build the tests once more.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)

if(APPLE)
  include(${varek_packaging}/PackagingMacos.cmake)
else()
  include(${varek_packaging}/PackagingLinux.cmake)
endif()

include(CPack)
