#!/usr/bin/env bash
# kavrel.so exports its descriptor alone and needs the platform's three libraries, Qt Core and Qt D-Bus, and no
# SPDX-License-Identifier: MIT
# other Qt library.
set -euo pipefail
plugin=$1

exported=$(nm -D --defined-only "$plugin" | awk '{print $NF}')
[ "$exported" = _lu_plugin_def ] || { echo "exports: $exported"; exit 1; }

needed=$(readelf -d "$plugin" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | grep -vE '^(libstdc\+\+|libgcc_s|libc|libm)\.so|^ld-|san\.so|clang_rt' | sort)
expected=$(printf '%s\n' libQt5Core.so.5 libQt5DBus.so.5 liblumd-config-parser.so.1 liblumd.so.1 libvornnotifications-qt5.so.1 | sort)
[ "$needed" = "$expected" ] || { echo "needs: $needed"; exit 1; }
