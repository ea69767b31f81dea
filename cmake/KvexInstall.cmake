# The library as its clients get it: one archive of all floors, the public headers, a CMake package and kvex.pc.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(floors library recording tables store zint can nav range codecs front)
list(TRANSFORM floors REPLACE "(.+)" "$<TARGET_OBJECTS:kvex_\\1>" OUTPUT_VARIABLE objects)
add_library(kvex STATIC ${objects})
add_library(Kvex::kvex ALIAS kvex)
set_target_properties(kvex PROPERTIES LINKER_LANGUAGE CXX)
target_compile_features(kvex PUBLIC cxx_std_20)
target_include_directories(kvex PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
                                       $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_link_libraries(kvex PRIVATE ${KVEX_OGG} Threads::Threads)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Kvex)
install(TARGETS kvex EXPORT KvexTargets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/kvex DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
install(EXPORT KvexTargets NAMESPACE Kvex:: DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/KvexConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_SOURCE_DIR}/packaging/KvexConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/KvexConfigVersion.cmake
        DESTINATION ${package_dir})

# kvex.pc finds its prefix from where it lies, so that an installed tree may be moved.
file(RELATIVE_PATH up_to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${PROJECT_SOURCE_DIR}/packaging/kvex.pc.in ${CMAKE_CURRENT_BINARY_DIR}/kvex.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/kvex.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The commands, with their manual pages and what shells complete.
install(TARGETS vrel vrel2fix RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
set(completion ${PROJECT_SOURCE_DIR}/docs/completion)
install(FILES ${completion}/vrel.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME vrel)
install(FILES ${completion}/vrel.zsh DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions RENAME _vrel)
install(FILES ${completion}/vrel.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
