# find_package(Kvex): the target Kvex::kvex. The archive needs libogg when a program is linked.
include(CMakeFindDependencyMacro)
find_dependency(Threads)
find_dependency(PkgConfig)
pkg_check_modules(OGG REQUIRED QUIET IMPORTED_TARGET ogg)
include(${CMAKE_CURRENT_LIST_DIR}/KvexTargets.cmake)
