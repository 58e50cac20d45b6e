# Finds ImageMagick 6's MagickWand through pkg-config and provides the imported target
# MagickWand::MagickWand (with ImageMagick's own compile definitions such as MAGICKCORE_QUANTUM_DEPTH).
include(FindPackageHandleStandardArgs)
find_package(PkgConfig QUIET)
if(PKG_CONFIG_FOUND)
  pkg_check_modules(PC_MagickWand QUIET MagickWand)
endif()
find_package_handle_standard_args(MagickWand
  REQUIRED_VARS PC_MagickWand_FOUND PC_MagickWand_LINK_LIBRARIES
  VERSION_VAR PC_MagickWand_VERSION)
if(MagickWand_FOUND AND NOT TARGET MagickWand::MagickWand)
  add_library(MagickWand::MagickWand INTERFACE IMPORTED)
  set_target_properties(MagickWand::MagickWand PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES "${PC_MagickWand_INCLUDE_DIRS}"
    INTERFACE_COMPILE_OPTIONS "${PC_MagickWand_CFLAGS_OTHER}"
    INTERFACE_LINK_LIBRARIES "${PC_MagickWand_LINK_LIBRARIES}")
endif()
