#!/usr/bin/env bash
# Installs into a directory of its own, moves it, and uses it as a stranger would: builds the programs of
# docs/library.md as printed, through CMake, and the examples through pkg-config; runs the installed programs.
#   install_test.sh BUILD_DIR
set -euo pipefail
source_dir=$(cd "$(dirname "$0")/.." && pwd)
work=$(mktemp -d)
# Programs look for settings and leave files in the home of the user.
unset XDG_CONFIG_HOME XDG_CACHE_HOME
export HOME=$work/home
mkdir "$HOME"
server=''
trap '[ -z "$server" ] || kill "$server"; rm -rf "$work"' EXIT

cmake --install "$1" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/prefix"

# The blocks of the page in their order: CMakeLists.txt, the pkg-config line, blank.cpp, list.cpp; the last one is Python.
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

python=$(printf '%s\n' block* | sort -V | tail -n 1)
diff <(LD_LIBRARY_PATH=$work/prefix/lib python3 "$python" page.fax) - <<<'page 1: 1100 lines, 152800 black pixels'

export PKG_CONFIG_PATH=$work/prefix/lib/pkgconfig
sh -e block2
./list page.fax >/dev/null
for example in make_fax:tolvane-fax black_share:tolvane-fax parent:tolvane-view; do
  name=${example%:*}
  read -ra flags < <(pkg-config --cflags --libs "${example#*:}")
  g++ -std=c++20 "$source_dir/examples/$name.cpp" -o "$name" "${flags[@]}"
done
./make_fax .
if ldd make_fax | grep -i x11; then exit 1; fi

PATH=$work/prefix/bin:$PATH
tolvane-fax create charts.fax "$source_dir"/bench/charts/itu[15].tif
tolvane-fax extract charts.fax charts.pdf
tolvane-fax create again.fax charts.pdf
cmp charts.fax again.fax
tolvane-fax info --csv charts.fax | grep -q '^charts.fax,2,charts.fax,2,MMR,.*,2376,0$'
Xvfb -displayfd 3 -screen 0 1280x1024x24 3>display 2>/dev/null &
server=$!
timeout 20 sh -c 'until [ -s display ]; do sleep 0.1; done'
mkfifo commands
DISPLAY=:$(<display) tolvane charts.fax <commands >replies 2>/dev/null &
viewer=$!
printf 'gopage 2\nsaypage\n' >commands
timeout 20 sh -c 'until grep -qx page==2 replies; do sleep 0.1; done'
kill -INT "$viewer"
wait "$viewer"

# By its first bytes, whatever its name.
share=$work/prefix/share
export share XDG_DATA_HOME=$work/home XDG_DATA_DIRS=$share:/usr/share
update-mime-database "$share/mime"
mv charts.fax charts
cp "$source_dir/bench/charts/itu1.tif" g4.fax
gio info -a standard::content-type charts | grep -q ': image/x-tolvane-fax$'
gio info -a standard::content-type g4.fax | grep -q ': image/tiff$'
desktop-file-validate "$share/applications/tolvane.desktop"
mkdir -p my-good/fakes
printf '#!/bin/sh\npwd\necho "$@"\n' >my-good/fakes/tolvane
chmod +x my-good/fakes/tolvane
opener=$(sed -nE 's|^Exec=([^ ]*) %f$|\1|p' "$share/applications/tolvane.desktop")
diff <(PATH=$PWD/my-good/fakes:$PATH "$opener" "$PWD/my-good/a b.fax") - <<END
$PWD/my-good
./a b.fax
END
appstreamcli validate --no-net "$share/metainfo/tolvane.metainfo.xml" >validation || { cat validation; exit 1; }
sed -n 's/^Exec=//p' "$share/thumbnailers/tolvane.thumbnailer" |
  sed 's/%i/charts/; s/%o/thumbnail/; s/%s/256/' | sh -e
file thumbnail | grep -q 'PNG image'

# One version in three forms: release, minor release and level of the stamp; the build's; that of the packages.
version=$(tolvane -rev 2>&1 | sed -nE 's/.*Version +([0-9]+)\.([0-9]+) +Release +[0-9]+\.0*([0-9]+)$/\1.\3.\2/p')
tolvane-fax --version | grep -q "^tolvane-fax $version\b"
head -n 1 "$source_dir/debian/changelog" | grep -q "^tolvane ($version-"
grep -q "<release version=\"$version\"" "$share/metainfo/tolvane.metainfo.xml"
# What the shells offer after a line.
offered_by_bash() {
  bash -c '. /usr/share/bash-completion/bash_completion
    . "$share/bash-completion/completions/tolvane-fax"
    line="$*" COMP_LINE=${line// = /=} COMP_POINT=${#COMP_LINE} COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
    _tolvane_fax tolvane-fax
    echo "${COMPREPLY[*]}"' bash tolvane-fax "$@" 2>/dev/null
}
[ "$(offered_by_bash create --coding = m)" = 'mh mr mmr' ]
touch few.fax
[ "$(offered_by_bash keywords get SUBJ)" = SUBJECT ]
[ "$(offered_by_bash keywords get SUBJECT few)" = few.fax ]
[ "$(offered_by_bash keywords get few.fax SUBJ)" = SUBJECT ]
[ "$(offered_by_bash keywords get few.fax --js)" = --json ]
[ "$(offered_by_bash extract --paper l)" = 'letter legal' ]
offered_by_fish() {
  # shellcheck disable=SC2016 # fish expands them
  fish -c 'source $share/fish/vendor_completions.d/tolvane-fax.fish; complete -C $argv[1]' "$1" | cut -f1 | paste -sd' '
}
[ "$(offered_by_fish 'tolvane-fax convert --to m')" = 'mh mmr mr' ]
[ "$(offered_by_fish 'tolvane-fax keywords get page.fax SUBJ')" = SUBJECT ]
zsh -n "$share/zsh/vendor-completions/_tolvane-fax"
