#!/usr/bin/env bash
# Fails when the shared library exports anything but the sixteen EzoSsl_* functions, or, given
# the SRP library and its five function names, anything but those.
#   check_exports.sh LIBRARY NM [FUNCTION...]
set -euo pipefail
lib=$1
nm=$2  # the target's nm in cross builds
shift 2
expected="${*:-}"
[ -n "$expected" ] || expected="EzoSsl_ApplyDigitalGain EzoSsl_Cal_Params EzoSsl_Config EzoSsl_Free EzoSsl_GetAPIVersion
EzoSsl_GetBufferSize EzoSsl_Get_Config EzoSsl_Get_Direction EzoSsl_Init EzoSsl_Reset
EzoSsl_Reset_Mapping EzoSsl_Run EzoSsl_SetCallbackFunction EzoSsl_SetMode EzoSsl_Set_ArbitraryShape
EzoSsl_Set_Shape"
exported=$("$nm" -D --defined-only "$lib" | awk '{print $3}' | sort)
want=$(echo $expected | tr ' ' '\n' | sort)
if [ "$exported" != "$want" ]; then
  echo "exported symbols differ from the API:"
  diff <(echo "$want") <(echo "$exported") || true
  exit 1
fi
echo "exports: $(echo "$exported" | wc -l) API functions, nothing else"

[ "$#" -eq 0 ] || exit 0
# The settings record is kept in the library's data for the device's tools.
grep -q "SSLSET##APIVERSION14##PN128MSGLEVEL07##SETSSL" "$lib" || { echo "settings record missing"; exit 1; }
