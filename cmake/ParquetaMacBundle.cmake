# Parqueta.app on macOS: Sparkle, the Info.plist values and parqueta_macos_bundle(),
# which src/app calls on the executable. Included on Apple platforms only, before src/,
# since the macOS backend links Sparkle::Sparkle. scripts/package-macos.sh turns the
# installed bundle into the disk image.

# Sparkle 2 as its release archive ships it: Sparkle-2.x.tar.xz holds Sparkle.framework at
# its root. find_library also finds frameworks, in ~/Library/Frameworks, /Library/Frameworks
# and the usual prefixes; a path given with -D is taken as it is.
find_library(PARQUETA_SPARKLE_FRAMEWORK NAMES Sparkle
  DOC "Sparkle.framework of Sparkle 2, e.g. from Sparkle-2.x.tar.xz of https://github.com/sparkle-project/Sparkle/releases")
string(REGEX REPLACE "/+$" "" parqueta_sparkle "${PARQUETA_SPARKLE_FRAMEWORK}")
# SPUStandardUpdaterController is Sparkle 2's; Sparkle 1 has no such header.
if(NOT parqueta_sparkle MATCHES "\\.framework$"
   OR NOT EXISTS "${parqueta_sparkle}/Sparkle"
   OR NOT EXISTS "${parqueta_sparkle}/Headers/SPUStandardUpdaterController.h")
  message(FATAL_ERROR
    "Sparkle 2 was not found (PARQUETA_SPARKLE_FRAMEWORK is \"${PARQUETA_SPARKLE_FRAMEWORK}\"). "
    "Parqueta.app embeds Sparkle.framework for its updates. Download Sparkle-2.x.tar.xz from "
    "https://github.com/sparkle-project/Sparkle/releases, unpack it and configure with "
    "-DPARQUETA_SPARKLE_FRAMEWORK=/path/to/Sparkle.framework")
endif()
message(STATUS "Sparkle: ${parqueta_sparkle}")

add_library(Sparkle::Sparkle SHARED IMPORTED)
set_target_properties(Sparkle::Sparkle PROPERTIES
  FRAMEWORK TRUE
  IMPORTED_LOCATION "${parqueta_sparkle}/Sparkle"
  # A framework folder as include directory becomes -F <its parent>, so that
  # #import <Sparkle/Sparkle.h> resolves.
  INTERFACE_INCLUDE_DIRECTORIES "${parqueta_sparkle}")

# Sparkle reads the appcast's address and the key that verifies each update from
# Info.plist. A build without a feed carries neither: an empty SUFeedURL is not "no
# updates" to Sparkle but a broken one.
set(PARQUETA_SPARKLE_PUBLIC_KEY "" CACHE STRING
  "Sparkle's EdDSA public key (base64, printed by Sparkle's bin/generate_keys); needed with PARQUETA_UPDATE_FEED_URL")
set(PARQUETA_PLIST_UPDATE_KEYS "")
if(PARQUETA_UPDATE_FEED_URL)
  # App Transport Security blocks plain http, and Sparkle 2 refuses updates it cannot
  # verify: either mistake would only show once a release is out.
  if(NOT PARQUETA_UPDATE_FEED_URL MATCHES "^https://")
    message(FATAL_ERROR "PARQUETA_UPDATE_FEED_URL must be an https:// address on macOS "
      "(App Transport Security): \"${PARQUETA_UPDATE_FEED_URL}\"")
  endif()
  if(NOT PARQUETA_SPARKLE_PUBLIC_KEY MATCHES "^[A-Za-z0-9+/]+=*$")
    message(FATAL_ERROR "PARQUETA_UPDATE_FEED_URL is set, so PARQUETA_SPARKLE_PUBLIC_KEY must be "
      "the base64 EdDSA public key that Sparkle's bin/generate_keys prints (it is \"${PARQUETA_SPARKLE_PUBLIC_KEY}\")")
  endif()
  string(REPLACE "&" "&amp;" parqueta_feed "${PARQUETA_UPDATE_FEED_URL}")
  string(CONCAT PARQUETA_PLIST_UPDATE_KEYS
    "<key>SUFeedURL</key>\n"
    "\t<string>${parqueta_feed}</string>\n"
    "\t<key>SUPublicEDKey</key>\n"
    "\t<string>${PARQUETA_SPARKLE_PUBLIC_KEY}</string>")
endif()

# parqueta_macos_bundle(TARGET): the Info.plist values, the icon drawn by
# parqueta_assets, and Sparkle.framework copied into Contents/Frameworks after each link.
# Call it where TARGET is defined (a POST_BUILD command must be).
function(parqueta_macos_bundle target)
  string(SUBSTRING "${PARQUETA_RELEASE_DATE}" 0 4 year)
  set_target_properties(${target} PROPERTIES
    MACOSX_BUNDLE_GUI_IDENTIFIER io.github.parqueta.Parqueta
    MACOSX_BUNDLE_BUNDLE_NAME Parqueta
    MACOSX_BUNDLE_SHORT_VERSION_STRING "${PROJECT_VERSION}"
    # What Sparkle compares to tell a newer build from an older one.
    MACOSX_BUNDLE_BUNDLE_VERSION "${PARQUETA_BUILD_NUMBER}"
    MACOSX_BUNDLE_COPYRIGHT "Copyright © ${year} The Parqueta developers. MIT License."
    MACOSX_BUNDLE_ICON_FILE Parqueta.icns
    # Sparkle's install name is @rpath/Sparkle.framework/...
    BUILD_RPATH "@executable_path/../Frameworks"
    INSTALL_RPATH "@executable_path/../Frameworks")

  set(iconset ${CMAKE_CURRENT_BINARY_DIR}/Parqueta.iconset)
  set(icns ${CMAKE_CURRENT_BINARY_DIR}/Parqueta.icns)
  add_custom_command(
    OUTPUT ${icns}
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${iconset}
    COMMAND parqueta_assets --iconset ${iconset}
    COMMAND iconutil --convert icns --output ${icns} ${iconset}
    DEPENDS parqueta_assets
    COMMENT "Drawing the bundle's icon"
    VERBATIM)
  set_source_files_properties(${icns} PROPERTIES MACOSX_PACKAGE_LOCATION Resources)
  target_sources(${target} PRIVATE ${icns})

  # ditto keeps the framework's symlinks (Versions/Current, the top-level links) and its
  # helpers' signatures; a copy that flattens them is not a loadable framework.
  get_target_property(sparkle_binary Sparkle::Sparkle IMPORTED_LOCATION)
  get_filename_component(sparkle "${sparkle_binary}" DIRECTORY)
  set(frameworks "$<TARGET_BUNDLE_CONTENT_DIR:${target}>/Frameworks")
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E rm -rf "${frameworks}/Sparkle.framework"
    COMMAND ${CMAKE_COMMAND} -E make_directory "${frameworks}"
    COMMAND ditto "${sparkle}" "${frameworks}/Sparkle.framework"
    COMMENT "Embedding Sparkle.framework in Parqueta.app"
    VERBATIM)
endfunction()
