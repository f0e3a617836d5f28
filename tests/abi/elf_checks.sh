#!/usr/bin/env bash
# Binary-interface and hardening checks of liborva_gpio_utils.so, read from its ELF headers with the
# target's readelf (READELF; c++filt demangles, the Itanium mangling is the same on every target).
#
#   elf_checks.sh print-exported LIB                  the exported dynamic symbols, one per line
#   elf_checks.sh exported LIB LISTDIR ARCH           compare them with LISTDIR/exported-symbols[-ARCH].txt
#   elf_checks.sh undefined LIB PLATFORMLIB PLATFORMH imports only from libc, libstdc++/libgcc and the platform
#   elf_checks.sh hardening LIB PROBE FORTIFY         RELRO, BIND_NOW, no executable stack, stack protector,
#                                                     fortified calls (PROBE: built with the library's flags)
#   elf_checks.sh hooks LIB HOSTLIB SIMLIB            the simulator wraps every file, clock, shm and exec call
set -euo pipefail
export LC_ALL=C
READELF=${READELF:-readelf}
CXXFILT=${CXXFILT:-c++filt}

failures=0
fail() {
  echo "FAIL: $*" >&2
  failures=$((failures + 1))
}

# Bytes per pointer of an ELF file.
word_size() {
  if "$READELF" -hW "$1" | grep -q 'Class:[[:space:]]*ELF64'; then echo 8; else echo 4; fi
}

# "Ndx Type Bind Size Name" of every named dynamic symbol; Name keeps its @VERSION, Size is decimal.
dynamic_symbols() {
  "$READELF" --dyn-syms -W "$1" | awk '
    function decimal(text,    value, i) {
      if (text !~ /^0x/) return text
      value = 0
      for (i = 3; i <= length(text); i++) value = value * 16 + index("0123456789abcdef", tolower(substr(text, i, 1))) - 1
      return value
    }
    $1 ~ /^[0-9]+:$/ && NF >= 8 && $5 != "LOCAL" { print $7, $4, $5, decimal($3), $8 }'
}

# Defined symbols (Type Name), names demangled; vtables and typeinfo with their size in pointer
# words and typeinfo names in bytes, so that one list serves 32-bit and 64-bit targets.
print_exported() {
  local word
  word=$(word_size "$1")
  dynamic_symbols "$1" | awk -v word="$word" '
    $1 != "UND" {
      suffix = ""
      if ($5 ~ /^_ZT[VITC]/) suffix = " (" ($4 / word) " words)"
      else if ($5 ~ /^_ZTS/) suffix = " (" $4 " bytes)"
      print $2, $5 "\t" suffix
    }' | "$CXXFILT" | sed 's/\t//' | sort
}

# Every undefined symbol: Bind Name@VERSION (mangled).
undefined_symbols() {
  dynamic_symbols "$1" | awk '$1 == "UND" { print $3, $5 }'
}

check_exported() {
  local lib=$1 listdir=$2 arch=$3 list
  list=$listdir/exported-symbols-$arch.txt
  [ -f "$list" ] || list=$listdir/exported-symbols.txt
  local actual
  actual=$(mktemp)
  print_exported "$lib" >"$actual"
  if ! diff -u "$list" "$actual" >&2; then
    fail "the exported symbols of $(basename "$lib") differ from $list ('-' expected, '+' built).
If the change of the binary interface is intended, regenerate the list from the current tree with
    scripts/update-abi-list.sh
and commit it together with the change."
  fi
  rm -f "$actual"
}

check_undefined() {
  local lib=$1 platform_lib=$2 platform_header=$3
  # The C entry points the header declares.
  local c_api
  c_api=$(sed -n 's/^extern "C" ORVA_PLATFORM_API.*[[:space:]*]\([A-Za-z_][A-Za-z0-9_]*\)(.*/\1/p' "$platform_header" | sort -u)
  [ -n "$c_api" ] || fail "no extern \"C\" declarations found in $platform_header"
  local provided
  provided=$(dynamic_symbols "$platform_lib" | awk '$1 != "UND" { print $5 }' | sort -u)
  while read -r bind name; do
    case $name in
      *@GLIBC_* | *@GLIBCXX_* | *@CXXABI_* | *@GCC_*) continue ;;
    esac
    case $name in
      _ITM_deregisterTMCloneTable | _ITM_registerTMCloneTable | __gmon_start__)
        [ "$bind" = WEAK ] && continue ;;
    esac
    local readable
    readable=$(echo "$name" | "$CXXFILT")
    local platform=no
    if grep -qx -- "$name" <<<"$c_api"; then platform=yes; fi
    case $readable in
      orva::utils::* | orva::variant::* | "vtable for orva::utils::"* | "vtable for orva::variant::"* | \
        "typeinfo for orva::utils::"* | "typeinfo for orva::variant::"*) platform=yes ;;
    esac
    if [ $platform = no ]; then
      fail "$(basename "$lib") imports '$readable', which is neither libc, libstdc++/libgcc nor the platform interface of $(basename "$platform_header")"
    elif ! grep -qx -- "$name" <<<"$provided"; then
      fail "$(basename "$lib") imports the platform symbol '$readable', which $(basename "$platform_lib") does not provide"
    fi
  done < <(undefined_symbols "$lib")

  check_needed "$lib"
}

# DT_NEEDED: only the C and C++ runtimes, never a platform library, and each one really used (a
# versioned symbol from it), which is what --as-needed keeps.
check_needed() {
  local lib=$1
  local needed used
  needed=$("$READELF" -dW "$lib" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
  used=$("$READELF" -VW "$lib" | sed -n 's/.*File: \([^ ]*\).*/\1/p')
  [ -n "$needed" ] || fail "$(basename "$lib") has no DT_NEEDED at all"
  local library
  for library in $needed; do
    case $library in
      libc.so.* | libstdc++.so.* | libgcc_s.so.* | libm.so.* | ld-linux*.so.*) ;;
      *) fail "$(basename "$lib") needs $library: only the C and C++ runtimes may be linked; platform symbols stay undefined" ;;
    esac
    grep -qx -- "$library" <<<"$used" || fail "$(basename "$lib") needs $library without using any of its symbols (not linked with --as-needed?)"
  done
}

check_hardening() {
  local lib=$1 probe=$2 fortify=$3
  local headers dynamic
  headers=$("$READELF" -lW "$lib")
  dynamic=$("$READELF" -dW "$lib")
  grep -q '^[[:space:]]*GNU_RELRO' <<<"$headers" || fail "$(basename "$lib") has no GNU_RELRO segment (-Wl,-z,relro)"
  local stack
  stack=$(awk '$1 == "GNU_STACK" { print $(NF - 1) }' <<<"$headers")
  [ -n "$stack" ] || fail "$(basename "$lib") has no GNU_STACK header (executable stack by default)"
  case $stack in *E*) fail "$(basename "$lib") asks for an executable stack (GNU_STACK $stack)" ;; esac
  if ! grep -Eq '\(FLAGS\).*BIND_NOW|\(FLAGS_1\).*NOW|\(BIND_NOW\)' <<<"$dynamic"; then
    fail "$(basename "$lib") is not linked with -Wl,-z,now (no BIND_NOW / FLAGS_1 NOW)"
  fi
  grep -q '(TEXTREL)' <<<"$dynamic" && fail "$(basename "$lib") has text relocations"
  undefined_symbols "$lib" | grep -q ' __stack_chk_fail@' ||
    fail "$(basename "$lib") does not import __stack_chk_fail (-fstack-protector-strong missing?)"
  check_needed "$lib"
  if [ "$fortify" = 1 ]; then
    # The probe is compiled with the library's own definitions and options; a read whose size is
    # only known at run time must go through the checking variant.
    undefined_symbols "$probe" | grep -q ' __pread64_chk@' ||
      fail "code built with the library's flags does not call __pread64_chk (-D_FORTIFY_SOURCE=2 with optimisation missing?)"
    undefined_symbols "$probe" | grep -q ' __stack_chk_fail@' ||
      fail "code built with the library's flags does not import __stack_chk_fail"
  fi
}

# libc entry points that reach files, the clock, shared memory or other programs.
hooked_pattern='^(__)?(open|openat|creat|stat|xstat|pread|pwrite|read|write|readv|writev|preadv|pwritev|close|lseek|usleep|sleep|nanosleep|clock_gettime|clock_nanosleep|gettimeofday|time|shmget|shmat|shmctl|shmdt|posix_spawn|posix_spawnp|fork|vfork|execv|execve|execvp|execl|execlp|system|popen|waitpid|ioctl)(64)?(_2|_chk|_time64)?$|^__(clock_gettime|nanosleep|clock_nanosleep)(64|_time64)$'

check_hooks() {
  local lib=$1 host=$2 sim=$3
  local wrapped
  wrapped=$(dynamic_symbols "$sim" | awk '$1 != "UND" { print $5 }' | sort -u)
  local file name
  for file in "$lib" "$host"; do
    while read -r _ name; do
      name=${name%%@*}
      grep -Eq "$hooked_pattern" <<<"$name" || continue
      grep -qx -- "$name" <<<"$wrapped" ||
        fail "$(basename "$file") calls $name, which the simulator ($(basename "$sim")) does not wrap"
    done < <(undefined_symbols "$file")
  done
}

command=${1:-}
shift || true
case $command in
  print-exported) print_exported "$1" ;;
  exported) check_exported "$1" "$2" "$3" ;;
  undefined) check_undefined "$1" "$2" "$3" ;;
  hardening) check_hardening "$1" "$2" "$3" ;;
  hooks) check_hooks "$1" "$2" "$3" ;;
  *)
    sed -n '2,12p' "$0" | sed 's/^# \{0,1\}//' >&2
    exit 2
    ;;
esac
[ $failures -eq 0 ] || exit 1
