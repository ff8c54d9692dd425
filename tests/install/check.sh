#!/usr/bin/env bash
# Installs a build into a temporary prefix and uses it as a stranger would: checks that the
# tree holds the public headers only, then builds and runs a CMake consumer, a Makefile +
# pkg-config consumer, a C consumer (also linked statically through pkg-config --static),
# and the README's C++ and Python examples, and renders
# the manual page. Usage: tests/install/check.sh BUILD_DIR
set -euo pipefail
build=$(realpath "$1")
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"

fail() { echo "install check: $*" >&2; exit 1; }

cmake --install "$build" --prefix "$prefix" >/dev/null

# Only public headers and no test files: nothing internal, nothing from the testing helpers.
leaks=$(cd "$prefix" && find . -path '*/internal/*' -o -path '*/testing/*' -o -name '*_test*' \
  -o -name '*.cc' -o -name '*.c')
[ -z "$leaks" ] || fail "installed files that must stay private: $leaks"
for needed in include/orvel/orvel.h include/orvel/version.h include/orvel/c/wildcard.h \
  include/orvel/search/query_terms.h lib/pkgconfig/orvelfoundation.pc bin/orvel bin/orvel-serve \
  lib/cmake/ORVELfoundation/ORVELfoundationConfig.cmake share/orvelfoundation/stopwords/StopWordsEN share/orvelfoundation/stopwords/README.md \
  share/man/man1/orvel.1 share/bash-completion/completions/orvel; do
  [ -e "$prefix/$needed" ] || fail "missing from the installed tree: $needed"
done
soname=$(readelf -d "$prefix"/lib/liborvelfoundation.so | sed -n 's/.*SONAME.*\[\(.*\)\]/\1/p')
[ "$soname" = "liborvelfoundation.so.0" ] || fail "unexpected SONAME '$soname'"

export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"
export LD_LIBRARY_PATH="$prefix/lib"
page='<html><body><a href="/one">1</a> <a href="two.html">2</a></body></html>'

echo "consumer: find_package"
cmake -S "$here/cmake_consumer" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null
"$work/cmake/cmake_consumer" | grep -q '^2: Ships leave the harbour' || fail "find_package consumer"
"$work/cmake/cmake_consumer_static" >/dev/null || fail "find_package consumer (static library)"

echo "consumer: pkg-config and make"
cp "$here/make_consumer/"* "$work/" && make -s -C "$work" make_consumer >/dev/null
[ "$(echo "$page" | "$work/make_consumer")" = $'/one\ntwo.html' ] || fail "pkg-config consumer"

echo "consumer: C"
cc -std=c11 -Wall -Wextra -Wpedantic -Werror -o "$work/c_consumer" "$here/c_consumer/main.c" \
  $(pkg-config --cflags --libs orvelfoundation)
echo "Harbour Report 2024" | "$work/c_consumer" 'harbour*20[0-9][0-9]' | grep -q '^matches' \
  || fail "C consumer"

echo "consumer: C, static library through pkg-config --static"
# A folder holding only the archive, searched first, makes the linker take it over the
# shared library; what it needs beyond itself must all come from pkg-config --static.
mkdir -p "$work/static"
ln -s "$prefix/lib/liborvelfoundation.a" "$work/static/liborvelfoundation.a"
c++ -o "$work/c_consumer_static" -x c -std=c11 "$here/c_consumer/main.c" -x none \
  -L"$work/static" $(pkg-config --cflags --static --libs orvelfoundation)
readelf -d "$work/c_consumer_static" | grep -q 'liborvelfoundation' \
  && fail "the static consumer links the shared library"
echo "Harbour Report 2024" | "$work/c_consumer_static" 'harbour*20[0-9][0-9]' | grep -q '^matches' \
  || fail "C consumer (static, pkg-config --static)"

echo "README examples"
"$here/readme_examples.sh" "$root/README.md" "$work/readme"
c++ -std=c++20 -o "$work/readme/example" "$work/readme/example.cc" \
  $(pkg-config --cflags --libs orvelfoundation)
expected="line 2: The ferry leaves the harbour from the north quay"
[ "$("$work/readme/example")" = "$expected" ] || fail "the README's C++ example"
c++ -std=c++20 -o "$work/readme/example_find" "$work/readme/example_find.cc" \
  $(pkg-config --cflags --libs orvelfoundation)
[ "$(cd "$root" && "$work/readme/example_find")" = \
  "$(cd "$root" && "$prefix/bin/orvel" search -c 'dignity NEAR/5 rights' examples/udhr)" ] ||
  fail "the README's collection search example"
if [ -d "$prefix/lib/python3/dist-packages/orvel" ]; then
  [ "$(PYTHONPATH="$prefix/lib/python3/dist-packages" /usr/bin/python3 "$work/readme/example.py")" \
    = "$expected" ] || fail "the README's Python example"
else
  echo "(no Python module installed: pybind11 missing)"
fi

echo "orvel serve"
# The installed orvel runs the installed orvel-serve beside it.
"$prefix/bin/orvel" serve --help | grep -q '^Usage: orvel serve' || fail "orvel serve --help"

echo "manual page"
warnings=$(MANROFFSEQ='' MANWIDTH=80 man --warnings -l "$prefix/share/man/man1/orvel.1" 2>&1 >/dev/null)
[ -z "$warnings" ] || fail "orvel.1: $warnings"
echo "install check: passed"
