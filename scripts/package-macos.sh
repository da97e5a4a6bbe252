#!/usr/bin/env bash
# Builds the macOS disk image: a release build of Parqueta.app with Qt deployed into it
# by macdeployqt, signed, on a volume beside a link to /Applications.
# Usage: scripts/package-macos.sh [extra cmake arguments...]
#   e.g. scripts/package-macos.sh -DPARQUETA_SPARKLE_FRAMEWORK=$HOME/Sparkle/Sparkle.framework
# Environment:
#   PARQUETA_CODESIGN_IDENTITY  a signing identity ("Developer ID Application: …"); the
#                               default signs ad hoc, which runs on the machine it was
#                               made on and, after "Open" in Finder, on others.
#   MACDEPLOYQT                 macdeployqt to use; by default the one of the Qt the build
#                               found.
# The image lands in build-macos-package/; its path is the last line printed.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="$root/build-macos-package"
volume="$build/volume"
app="$volume/Parqueta.app"
identity="${PARQUETA_CODESIGN_IDENTITY:--}"

# The Qt of Homebrew and the Sparkle that scripts/setup-macos.sh fetched, unless the
# arguments name others (later -D arguments win).
defaults=()
command -v brew >/dev/null 2>&1 && defaults+=("-DCMAKE_PREFIX_PATH=$(brew --prefix qt)")
for fetched in "$root"/.deps/sparkle-*/Sparkle.framework; do
  [ -d "$fetched" ] && defaults+=("-DPARQUETA_SPARKLE_FRAMEWORK=$fetched")
done
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DPARQUETA_BUILD_TESTS=OFF \
  ${defaults[@]+"${defaults[@]}"} "$@" >/dev/null
# Only what the image holds: the app, and the tool that draws its icon.
cmake --build "$build" --target parqueta
rm -rf "$volume"
cmake --install "$build" --prefix "$volume" >/dev/null

macdeployqt="${MACDEPLOYQT:-}"
qt_dir=""
if [ -z "$macdeployqt" ]; then
  qt_dir="$(sed -n 's/^Qt6_DIR:[A-Z]*=//p' "$build/CMakeCache.txt")"
  macdeployqt="$qt_dir/../../../bin/macdeployqt"
  [ -x "$macdeployqt" ] || macdeployqt="$(command -v macdeployqt || true)"
fi
if [ ! -x "$macdeployqt" ]; then
  echo "package-macos: no macdeployqt beside the Qt of the build (${qt_dir:-unknown}) nor on PATH;" \
    "set MACDEPLOYQT to one" >&2
  exit 1
fi
echo "== macdeployqt"
"$macdeployqt" "$app"

echo "== codesign ($identity)"
# Inside out, every piece of code before what contains it, as Apple and Sparkle ask
# (codesign --deep would drop the entitlements of Sparkle's Downloader service). The
# hardened runtime and a timestamp come with a real identity only: with an ad hoc
# signature, library validation would refuse to load the frameworks.
sign() {
  if [ "$identity" = "-" ]; then
    codesign --force --sign - "$@"
  else
    codesign --force --sign "$identity" --options runtime --timestamp "$@"
  fi
}
# Qt's plug-ins and frameworks, as macdeployqt placed them; none holds code of its own.
while IFS= read -r -d '' code; do
  sign "$code"
done < <(find "$app/Contents/PlugIns" -type f -name '*.dylib' -print0 2>/dev/null
         find "$app/Contents/Frameworks" -mindepth 1 -maxdepth 1 \( -name '*.framework' -o -name '*.dylib' \) \
           ! -name Sparkle.framework -print0)
sparkle="$app/Contents/Frameworks/Sparkle.framework"
sign "$sparkle/Versions/B/XPCServices/Installer.xpc"
sign --preserve-metadata=entitlements "$sparkle/Versions/B/XPCServices/Downloader.xpc"
sign "$sparkle/Versions/B/Autoupdate"
sign "$sparkle/Versions/B/Updater.app"
sign "$sparkle"
sign "$app"
codesign --verify --deep --strict --verbose=2 "$app"

version="$(/usr/libexec/PlistBuddy -c 'Print :CFBundleShortVersionString' "$app/Contents/Info.plist")"
dmg="$build/Parqueta-$version.dmg"
ln -s /Applications "$volume/Applications"
echo "== hdiutil"
# hdiutil now and then finds the new image busy right after making it; a second try works.
for attempt in 1 2 3; do
  if hdiutil create -volname Parqueta -srcfolder "$volume" -ov -format UDZO "$dmg"; then
    break
  fi
  if [ "$attempt" -eq 3 ]; then
    echo "package-macos: hdiutil could not make $dmg" >&2
    exit 1
  fi
  sleep 5
done
echo "$dmg"
