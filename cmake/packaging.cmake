# What an installed shadex needs besides the runnable layout (src/): the
# bin/ links, manual pages, shell completion; and the Debian package made of
# all of it (make package).

include(GNUInstallDirs)

# shadex(1) is written from the option table the program declares.
add_executable(shadex-man-page ${PROJECT_SOURCE_DIR}/tools/man-page/main.cpp)
target_link_libraries(shadex-man-page PRIVATE shadex_driver)
set(SHADEX_MAN_DIR ${CMAKE_BINARY_DIR}/man)
add_custom_command(OUTPUT ${SHADEX_MAN_DIR}/shadex.1
  COMMAND ${CMAKE_COMMAND} -E make_directory ${SHADEX_MAN_DIR}
  COMMAND shadex-man-page ${SHADEX_MAN_DIR}/shadex.1
  DEPENDS shadex-man-page
  COMMENT "Writing the shadex(1) manual page")
add_custom_target(shadex_man_pages ALL DEPENDS ${SHADEX_MAN_DIR}/shadex.1)

install(FILES ${SHADEX_MAN_DIR}/shadex.1 ${PROJECT_SOURCE_DIR}/docs/man/shadex-suite.1
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${PROJECT_SOURCE_DIR}/tools/completion/shadex.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME shadex)
install(FILES ${PROJECT_SOURCE_DIR}/tools/completion/shadex.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME shadex-suite)
install(FILES ${PROJECT_SOURCE_DIR}/tools/completion/_shadex
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)

# bin/shadex and bin/shadex-suite are relative links into the layout, so the
# installed tree works wherever it is copied, with or without DESTDIR.
file(RELATIVE_PATH _shadex_bin_to_layout
     "${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}" "${CMAKE_INSTALL_PREFIX}/${SHADEX_INSTALL_DIR}")
install(CODE "
  set(bin_dir \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}\")
  file(MAKE_DIRECTORY \"\${bin_dir}\")
  foreach(program shadex shadex-suite)
    message(STATUS \"Installing: \${bin_dir}/\${program}\")
    file(CREATE_LINK \"${_shadex_bin_to_layout}/\${program}\" \"\${bin_dir}/\${program}\" SYMBOLIC)
  endforeach()")

# make package: shadex_<version>_amd64.deb with the layout under /usr/lib/shadex.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME shadex)
set(CPACK_PACKAGE_VENDOR "The shadex authors")
set(CPACK_PACKAGE_CONTACT "The shadex authors <shadex@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Offline shader compiler driver and static performance analyser for Koro GPU cores")
set(CPACK_PACKAGE_DESCRIPTION
    "shadex compiles OpenGL ES and Vulkan GLSL, SPIR-V and OpenCL C for a Koro GPU core and reports\n registers, occupancy, stack use, 16-bit arithmetic and cycles per pipeline; shadex-suite runs it\n over whole shader sets against a baseline.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
# glslang and SPIRV-Tools are linked in; OpenCL C needs the compiler and the
# translator, whose libraries the resident OpenCL tool process links.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "clang-14, llvm-spirv-14, libclang-cpp14, libllvm14, libllvmspirvlib14")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS OFF)
include(CPack)
