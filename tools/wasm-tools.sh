#!/usr/bin/env bash
# Makes what compiles for WebAssembly, under build/wasm-tools: a clang of the package index, its C and C++
# libraries compiled with exceptions, and the packages that the program links, from Debian's sources.
# Needs python3 with venv, apt-get and the headers that tools/install-packages.sh installs. Does nothing
# where it is done already.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

compiler=ziglang==0.17.1 # clang 22 with the sources of its libraries
declare -A sources=([zlib]=zlib1g-dev [lodepng]=liblodepng-dev [libmd]="")
root=$PWD/build/wasm-tools
made=$(sha256sum <tools/wasm-tools.sh)
[ "$(cat "$root/made" 2>/dev/null)" = "$made" ] && exit 0
mkdir -p "$root"/{bin,include,lib,source,scratch}
step() { echo "-- WebAssembly: $*"; }

# --- the compiler ------------------------------------------------------------------------------------
[ -x "$root/venv/bin/python3" ] || python3 -m venv "$root/venv"
"$root/venv/bin/pip" install --quiet --disable-pip-version-check "$compiler"
zig=$(echo "$root"/venv/lib/python3*/site-packages/ziglang)
ln -sfn "$zig" "$root/zig"
zig=$root/zig
export ZIG_GLOBAL_CACHE_DIR=$root/cache ZIG_LOCAL_CACHE_DIR=$root/cache

# Nothing of this machine's own headers, no names of its folders in what is compiled.
common="--target=wasm32-wasip1 -nostdinc -fwasm-exceptions -msimd128 -ffile-prefix-map=$root=/wasm-tools"
common+=" -D_WASI_EMULATED_SIGNAL -D_WASI_EMULATED_PROCESS_CLOCKS -D_WASI_EMULATED_MMAN -D_WASI_EMULATED_GETPID"
system="-isystem $zig/lib/include -isystem $zig/lib/libc/include/wasm-wasi-musl -isystem $zig/lib/libc/include/generic-musl"
plus="-isystem $root/include/c++ -isystem $zig/lib/libcxx/include -isystem $zig/lib/libcxxabi/include"
put() { # a file, from standard input; one that is the same stays as it is, with its time
  cat >"$1.new"
  if cmp -s "$1.new" "$1"; then rm "$1.new"; else mv "$1.new" "$1"; fi
}
write() { # name; the command is on standard input
  { echo '#!/bin/sh'; cat; } | put "$root/bin/$1"
  chmod +x "$root/bin/$1"
}
write clang <<<"exec '$zig/zig' clang $common $system \"\$@\""
write clang++ <<<"exec '$zig/zig' clang --driver-mode=g++ $common -include $root/include/c++/__config_site $plus $system \"\$@\""
write wasm-ld <<<"exec '$zig/zig' wasm-ld \"\$@\""
for tool in ar ranlib; do write "$tool" <<<"exec '$zig/zig' $tool \"\$@\""; done

mkdir -p "$root/include/c++"
put "$root/include/c++/__config_site" <<'SITE'
// Settings of the C++ library: threads are those of the C library, which starts none.
#pragma once
#define _LIBCPP_ABI_VERSION 1
#define _LIBCPP_ABI_NAMESPACE __1
#define _LIBCPP_ABI_FORCE_ITANIUM 0
#define _LIBCPP_ABI_FORCE_MICROSOFT 0
#define _LIBCPP_HAS_THREADS 1
#define _LIBCPP_HAS_MONOTONIC_CLOCK 1
#define _LIBCPP_HAS_TERMINAL 0
#define _LIBCPP_HAS_MUSL_LIBC 1
#define _LIBCPP_HAS_THREAD_API_PTHREAD 1
#define _LIBCPP_HAS_THREAD_API_EXTERNAL 0
#define _LIBCPP_HAS_THREAD_API_WIN32 0
#define _LIBCPP_HAS_THREAD_API_C11 0
#define _LIBCPP_HAS_VENDOR_AVAILABILITY_ANNOTATIONS 0
#define _LIBCPP_HAS_FILESYSTEM 1
#define _LIBCPP_HAS_RANDOM_DEVICE 1
#define _LIBCPP_HAS_LOCALIZATION 1
#define _LIBCPP_HAS_UNICODE 1
#define _LIBCPP_HAS_WIDE_CHARACTERS 1
#define _LIBCPP_HAS_TIME_ZONE_DATABASE 0
#define _LIBCPP_INSTRUMENTED_WITH_ASAN 0
#define _LIBCPP_PSTL_BACKEND_SERIAL
#define _LIBCPP_HARDENING_MODE_DEFAULT 2
#define _LIBCPP_ASSERTION_SEMANTIC_DEFAULT 2
#define _LIBCPP_LIBC_NEWLIB 0
SITE
# A call that this C library lacks: the C++ library copies by its streams then.
cat >"$root/scratch/copy_file_range.h" <<'HEADER'
#include <errno.h>
static inline long copy_file_range(int, long long*, int, long long*, unsigned long, unsigned) {
    errno = ENOSYS;
    return -1;
}
HEADER

# --- the C library, of the compiler's own making ------------------------------------------------------
if [ ! -f "$root/lib/libc.a" ]; then
  step "C library"
  echo 'int main(void) { return 0; }' >"$root/scratch/empty.c"
  (cd "$root/scratch" && "$zig/zig" cc -target wasm32-wasi -O2 empty.c -o empty.wasm -v 2>"$root/scratch/link.txt")
  for part in crt1-command.o libzigc.a libcompiler_rt.a libc.a; do
    found=$(grep -oE "[^ ]*/$part" "$root/scratch/link.txt" | tail -1)
    cp "$root/scratch/$found" "$root/lib/$part" 2>/dev/null || cp "$found" "$root/lib/$part"
  done
fi

# --- a library of sources, two at a time --------------------------------------------------------------
compile() { # library, command, sources...
  local library=$1 command=$2 folder=$root/scratch/$1 source
  shift 2
  mkdir -p "$folder"
  for source in "$@"; do echo "$source"; done |
    xargs -P 2 -I{} sh -c '
      object="$1/$(echo "$2" | sed "s|.*/source/||; s|.*/lib/||; s|/|_|g").o"
      [ "$object" -nt "$2" ] || { '"$command"' -c "$2" -o "$object.new" && mv "$object.new" "$object"; }' sh "$folder" {}
  rm -f "$root/lib/$library.a"
  "$root/bin/ar" rcsD "$root/lib/$library.a" $(for each in "$folder"/*.o; do echo "$each"; done | LC_ALL=C sort)
}

step "C++ library"
cxx=$zig/lib/libcxx/src abi=$zig/lib/libcxxabi/src
files=()
for name in algorithm atomic bind call_once charconv chrono condition_variable condition_variable_destructor \
  error_category exception functional future hash ios ios.instantiations iostream fstream locale memory mutex \
  mutex_destructor new new_handler new_helpers optional ostream stdexcept string system_error thread \
  typeinfo variant vector verbose_abort; do files+=("$cxx/$name.cpp"); done
files+=("$cxx"/filesystem/{directory_entry,directory_iterator,filesystem_clock,filesystem_error,operations,path}.cpp
        "$cxx"/ryu/{d2fixed,d2s,f2s}.cpp)
for name in abort_message cxa_aux_runtime cxa_default_handlers cxa_exception cxa_exception_storage cxa_guard \
  cxa_handlers cxa_personality cxa_thread_atexit cxa_vector cxa_virtual fallback_malloc private_typeinfo \
  stdlib_exception stdlib_stdexcept stdlib_typeinfo; do files+=("$abi/$name.cpp"); done
compile libc++ "$root/bin/clang++ -std=c++26 -O2 -w -DNDEBUG -D_LIBCPP_BUILDING_LIBRARY -D_LIBCXXABI_BUILDING_LIBRARY \
 -DLIBCXX_BUILDING_LIBCXXABI -D_LIBCPP_REMOVE_TRANSITIVE_INCLUDES -include $root/scratch/copy_file_range.h -I$cxx -I$abi -I$zig/lib/libcxx/libc \
 -I$zig/lib/libcxxabi/include -DLIBCXXABI_NON_DEMANGLING_TERMINATE -fno-strict-aliasing" "${files[@]}"
# The tag of all C++ exceptions, which the sources leave to whoever builds them.
printf '\t.tagtype\t__cpp_exception i32\n\t.globl\t__cpp_exception\n__cpp_exception:\n' >"$root/source/exception-tag.s"
compile libunwind "$root/bin/clang -O2 -w -DNDEBUG -D_LIBUNWIND_HIDE_SYMBOLS -I$zig/lib/libunwind/include" "$zig/lib/libunwind/src/Unwind-wasm.c" "$root/source/exception-tag.s"

# --- sources of packages, as Debian has them -----------------------------------------------------------
if [ ! -f "$root/source/fetched" ]; then
  step "sources of packages"
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
  mkdir -p "$work"/{lists/partial,cache/archives/partial,parts}
  for parts in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
    [ -f "$parts" ] && sed -n 's/^deb /deb-src /p' "$parts" >"$work/parts/$(basename "$parts" .list).list"
  done
  for parts in /etc/apt/sources.list.d/*.sources; do
    [ -f "$parts" ] && grep -q debian "$parts" && sed 's/^Types:.*/Types: deb-src/' "$parts" >"$work/parts/$(basename "$parts")"
  done
  own=(-qq -o Dir::Etc::SourceList=/dev/null -o Dir::Etc::SourceParts="$work/parts"
       -o Dir::State::Lists="$work/lists" -o Dir::Cache="$work/cache" -o APT::Sandbox::User="$(id -un)")
  apt-get "${own[@]}" update
  for name in "${!sources[@]}"; do
    version=""
    [ -z "${sources[$name]}" ] || version="=$(dpkg-query -W -f '${source:Version}' "${sources[$name]}")"
    (cd "$work" && apt-get "${own[@]}" source --download-only "$name$version")
    mkdir -p "$root/source/$name"
    archive=$(find "$work" -name "${name}_*.orig.tar.*" ! -name '*.asc')
    tar -xf "$archive" -C "$root/source/$name" --strip-components=1
    mkdir -p "$work/debian-$name" # its notices
    tar -xf "$work/$name"_*.debian.tar.* -C "$work/debian-$name" debian/copyright
    cp "$work/debian-$name/debian/copyright" "$root/source/$name/debian-copyright"
  done
  touch "$root/source/fetched"
fi
step "zlib, lodepng, SHA-256"
z=$root/source/zlib
compile libz "$root/bin/clang -O3 -w -DNDEBUG -DHAVE_UNISTD_H -DZ_HAVE_UNISTD_H" \
  "$z"/{adler32,compress,crc32,deflate,gzclose,gzlib,gzread,gzwrite,infback,inffast,inflate,inftrees,trees,uncompr,zutil}.c
compile liblodepng "$root/bin/clang++ -O2 -w -DNDEBUG -DLODEPNG_NO_COMPILE_DISK" "$root/source/lodepng/lodepng.cpp"
mkdir -p "$root/scratch/config"
: >"$root/scratch/config/config.h" # nothing of it matters to the hash
compile libmd "$root/bin/clang -O2 -w -DNDEBUG -I$root/source/libmd/include -I$root/scratch/config" "$root/source/libmd/src/sha2.c"
mkdir -p "$root/include/sources"
cp -p "$z"/{zlib,zconf}.h "$root/source/lodepng/lodepng.h" "$root/include/sources/"
cp -p "$root/source/libmd/include/sha2.h" "$root/include/sources/sha2.h"
echo "$made" >"$root/made"
