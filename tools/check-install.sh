#!/usr/bin/env bash
# Usage: tools/check-install.sh BUILD_FOLDER (a built host folder). The library as its users get it:
#   1. installed into a temporary prefix and moved elsewhere, so nothing may depend on where it was installed;
#   2. the programs of tools/consumer (C, Fortran) built against the moved tree with the CMake package, with
#      pkg-config and with plain compiler lines, and run with no LD_LIBRARY_PATH;
#   3. the same against the Debian package of cpack, unpacked with dpkg-deb -x, after a look at its fields.
# Each check is one test; the last line is "N passed, N failed", and the exit status is non-zero if any failed.
set -u -o pipefail

KOVRA_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
if [ $# -ne 1 ] || [ ! -f "$1/CPackConfig.cmake" ]; then
  echo "usage: $0 BUILD_FOLDER (a built host folder of this project)" >&2
  exit 2
fi
build_dir=$(cd "$1" && pwd)
version=$(sed -n 's/^set(CPACK_PACKAGE_VERSION "\(.*\)")$/\1/p' "$build_dir/CPackConfig.cmake")
# The library folder under the prefix, as the build was configured: lib/<multiarch> unless the builder chose
# another (an older build folder may keep GoogleTest's plain lib in its cache).
libdir_rel=$(sed -n 's/^CMAKE_INSTALL_LIBDIR:[A-Z]*=//p' "$build_dir/CMakeCache.txt")
[ -n "$libdir_rel" ] || exit 2
work=$(mktemp -d "${TMPDIR:-/tmp}/kovra-install.XXXXXX") || exit 2
mkdir -p "$work/logs"
# The programs are built from a copy, away from the source tree, so only the installed files can serve.
cp -r "$KOVRA_ROOT/tools/consumer" "$work/consumer"

PASSED=0
FAILED=0
START=$SECONDS

# check TITLE COMMAND...: runs one test with its output in a log, shown on failure.
check() {
  local title=$1
  shift
  local log
  log=$work/logs/$(echo "$title" | tr -c 'A-Za-z0-9\n' '-').log
  if "$@" >"$log" 2>&1; then
    PASSED=$((PASSED + 1))
    echo "== passed: $title"
  else
    FAILED=$((FAILED + 1))
    echo "== FAILED: $title (log: $log)"
    tail -n 40 "$log"
  fi
}

# check_layout TREE: the tree holds only the public headers, the libraries with their development links
# and the package files (no test framework, tests, bench or examples), and the library's RUNPATH is
# $ORIGIN alone.
check_layout() {
  local tree=$1 libdir=$libdir_rel bad=0 unexpected
  local allowed="^(include/kovra/[a-z_]+\.h|include/kovra/compat/cblas\.h|include/vesk/(runtime|exceptions)\.h"
  allowed+="|$libdir/lib(KOVRA|vesk-cpu)(-[0-9.]+)?\.so"
  allowed+="|$libdir/cmake/KOVRA/[A-Za-z-]+\.cmake|$libdir/pkgconfig/kovra\.pc)$"
  unexpected=$(cd "$tree" && find . \( -type f -o -type l \) -printf '%P\n' | grep -Ev "$allowed")
  if [ -n "$unexpected" ]; then
    echo "not part of the package:"
    echo "$unexpected"
    bad=1
  fi
  [ "$(readlink "$tree/$libdir/libKOVRA.so")" = "libKOVRA-$version.so" ] || { echo "libKOVRA.so: wrong link"; bad=1; }
  [ -f "$tree/$libdir/libvesk-cpu.so" ] || { echo "libvesk-cpu.so: missing or dangling"; bad=1; }
  local paths
  paths=$(readelf -d "$tree/$libdir/libKOVRA-$version.so" | sed -n 's/.*(\(R[A-Z]*PATH\)) *[^[]*\[\(.*\)\]$/\1 \2/p')
  echo "libKOVRA-$version.so: ${paths:-no RUNPATH}"
  [ "$paths" = "RUNPATH \$ORIGIN" ] || bad=1
  return $bad
}

# run PROGRAM: runs a built program without LD_LIBRARY_PATH.
run() {
  env -u LD_LIBRARY_PATH "$@"
}

# consumer_cmake TREE OUT TARGET: builds one program of the consumer project, found with
# find_package(KOVRA CONFIG) in TREE, and runs it. The first call configures OUT.
consumer_cmake() {
  local tree=$1 out=$2 target=$3
  if [ ! -f "$out/CMakeCache.txt" ]; then
    cmake -S "$work/consumer" -B "$out" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$tree" || return
  fi
  grep -Fx "KOVRA_DIR:PATH=$tree/$libdir_rel/cmake/KOVRA" "$out/CMakeCache.txt" &&
    cmake --build "$out" --target "$target" && run "$out/$target"
}

# consumer_pkg_config TREE OUT COMPILER SOURCE: builds one program with the flags of TREE's kovra.pc and
# runs it.
consumer_pkg_config() {
  local tree=$1 out=$2 compiler=$3 source=$4 flags libdir
  local pc_path=$tree/$libdir_rel/pkgconfig
  flags=$(PKG_CONFIG_PATH=$pc_path pkg-config --cflags --libs kovra) &&
    libdir=$(PKG_CONFIG_PATH=$pc_path pkg-config --variable=libdir kovra) || return
  echo "pkg-config --cflags --libs kovra: $flags"
  mkdir -p "$out"
  # shellcheck disable=SC2086 # the compiler and its options, and the flags, are separate words
  $compiler "$work/consumer/$source" -o "$out/${source%.*}" $flags -Wl,-rpath,"$libdir" && run "$out/${source%.*}"
}

# consumer_plain TREE OUT COMPILER SOURCE [LIBRARY...]: builds one program with the include folders and
# the versioned library named on the command line, and runs it.
consumer_plain() {
  local tree=$1 out=$2 compiler=$3 source=$4
  shift 4
  local libdir=$tree/$libdir_rel
  mkdir -p "$out"
  # shellcheck disable=SC2086 # the compiler and its options are separate words
  $compiler "$work/consumer/$source" -o "$out/${source%.*}" -I "$tree/include" -I "$tree/include/kovra/compat" \
    -L "$libdir" -Wl,-rpath,"$libdir" -l"KOVRA-$version" "$@" && run "$out/${source%.*}"
}

# consumers LABEL TREE: the two programs, built the three ways against TREE.
consumers() {
  local label=$1 tree=$2 out=$work/$1
  local c="cc -std=c99 -Wall -Wextra -Werror -pedantic-errors"
  local fortran="gfortran -std=f2008 -Wall -Werror"
  check "$label, CMake package, C" consumer_cmake "$tree" "$out/cmake" cblas_program
  check "$label, CMake package, Fortran" consumer_cmake "$tree" "$out/cmake" fortran_program
  check "$label, pkg-config, C" consumer_pkg_config "$tree" "$out/pkg-config" "$c" cblas_program.c
  check "$label, pkg-config, Fortran" consumer_pkg_config "$tree" "$out/pkg-config" "$fortran" fortran_program.f90
  check "$label, plain, C" consumer_plain "$tree" "$out/plain" "$c" cblas_program.c -lvesk-cpu-1.0.0
  check "$label, plain, Fortran" consumer_plain "$tree" "$out/plain" "$fortran" fortran_program.f90
}

# install_moved: installs into one prefix, moves the tree to another, checks it there.
install_moved() {
  cmake --install "$build_dir" --prefix "$work/installed" && mv "$work/installed" "$work/moved" &&
    check_layout "$work/moved"
}

# debian_package: packs, checks the package's fields, unpacks, and checks that everything went under /usr.
debian_package() {
  local deb
  deb=$work/deb/kovra_${version}_$(dpkg --print-architecture).deb
  cpack -G DEB --config "$build_dir/CPackConfig.cmake" -B "$work/deb" && dpkg-deb -I "$deb" && dpkg-deb -c "$deb" ||
    return
  [ "$(dpkg-deb -f "$deb" Package)" = kovra ] || { echo "Package is not kovra"; return 1; }
  [ "$(dpkg-deb -f "$deb" Version)" = "$version" ] || { echo "Version is not $version"; return 1; }
  dpkg-deb -f "$deb" Depends | grep -Eq '(^|, )libc6( |,|$)' || { echo "Depends does not name libc6"; return 1; }
  dpkg-deb -x "$deb" "$work/unpacked" && [ "$(ls -A "$work/unpacked")" = usr ] && check_layout "$work/unpacked/usr"
}

check "install, moved: files, links, RUNPATH" install_moved
if [ -d "$work/moved" ]; then
  consumers "install-moved" "$work/moved"
fi
check "Debian package: fields, files, links, RUNPATH" debian_package
if [ -d "$work/unpacked/usr" ]; then
  consumers "Debian-package" "$work/unpacked/usr"
fi

echo "== Install check took $((SECONDS - START)) s"
if [ "$FAILED" -eq 0 ]; then
  rm -rf "$work"
else
  echo "== Work folder kept: $work"
fi
echo "$PASSED passed, $FAILED failed"
[ "$FAILED" -eq 0 ]
