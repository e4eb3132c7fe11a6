# CMake and pkg-config files by which programs find an installed ImageFile, and the Debian packages.
include(CMakePackageConfigHelpers)
# The headers need C++20, also in programs that are C++17 by default.
target_compile_features(ImageFilePlatform PUBLIC cxx_std_20)
set(CONFIG_FOLDER ${CMAKE_INSTALL_LIBDIR}/cmake/ImageFile)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ImageFileConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(EXPORT ImageFileTargets NAMESPACE ImageFile:: FILE ImageFileConfig.cmake DESTINATION ${CONFIG_FOLDER}
        COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/ImageFileConfigVersion.cmake DESTINATION ${CONFIG_FOLDER} COMPONENT development)
# The installed tree may be moved, so paths are relative to the .pc file.
file(RELATIVE_PATH PREFIX_FROM_PKGCONFIG /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
foreach(name imagefile imagefile-platform)
  configure_file(cmake/${name}.pc.in ${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME imagefile)
set(CPACK_PACKAGE_CONTACT "The ImageFile developers <imagefile@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
# Does not depend on the umask of the user who builds.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
    WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL libraries development tools python)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
# Packages of programs that link the libraries derive their dependencies from these files.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(LIBRARY_PACKAGE libimagefile${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_NAME ${LIBRARY_PACKAGE})
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_LIBRARIES_DESCRIPTION "Descriptions of disc images, shared libraries
Turns an image of a disc (ISO, CUE, NRG, CCD, MDS, ZSI) into a description of its
sessions, tracks and text, extracts tracks, and writes sheets and CD-Text.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libimagefile-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS libraries)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Descriptions of disc images, development files
Headers, CMake package and pkg-config files for programs that use libimagefile.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME zsimage)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_TOOLS_DEPENDS libraries)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "Shows and converts disc images, and extracts tracks
A command-line tool that shows what is on an image of a disc, saves its tracks and
converts between descriptions.")
set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-imagefile)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.11)")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/bindings/python/prerm)
set(CPACK_COMPONENT_PYTHON_DEPENDS libraries)
set(CPACK_COMPONENT_PYTHON_DESCRIPTION "Descriptions of disc images, Python package
Reads images of discs in Python: sessions, tracks, texts and the data of tracks.")
include(CPack)
