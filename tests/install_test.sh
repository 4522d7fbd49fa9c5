#!/usr/bin/env bash
# Installs into a directory of its own, moves it, and builds against it as a stranger would: the programs of
# docs/library.md as printed, through CMake, and the examples through pkg-config.
#   install_test.sh BUILD_DIR
set -euo pipefail
source_dir=$(cd "$(dirname "$0")/.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$1" --component development --prefix "$work/first" >/dev/null
mv "$work/first" "$work/prefix"

# The blocks of the page in their order: CMakeLists.txt, the pkg-config line, blank.cpp, list.cpp.
mkdir "$work/user"
cd "$work/user"
awk '/^```./ { file = "block" ++count; next } /^```/ { file = "" } file { print > file }' "$source_dir/docs/library.md"
mv block1 CMakeLists.txt
mv block3 blank.cpp
mv block4 list.cpp
cmake -S . -B build -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build build >/dev/null
build/blank page.fax
diff <(build/list page.fax) - <<END
#PAGES: 1
RESOLUTION: 0
COMPRESSION: 3
page 1: MMR, $(($(stat -c %s page.fax) - 49)) bytes, 1101 lines
END

export PKG_CONFIG_PATH=$work/prefix/lib/pkgconfig
sh -e block2
./list page.fax >/dev/null
for example in make_fax:tolvane-fax parent:tolvane-view; do
  name=${example%:*}
  read -ra flags < <(pkg-config --cflags --libs "${example#*:}")
  g++ -std=c++20 "$source_dir/examples/$name.cpp" -o "$name" "${flags[@]}"
done
./make_fax .
! ldd make_fax | grep -i x11
