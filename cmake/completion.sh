#!/bin/sh
# Puts the completion table of the program in the place of @TABLE@ in a script.
#   completion.sh PROGRAM SCRIPT RESULT
set -e
table=$("$1" completion-table)
quoted=$(printf "%s\n" "$table" | sed "s/'/’/g") # quotes would end a string of the scripts
awk -v table="$quoted" '
  { at = index($0, "@TABLE@") }
  at { print substr($0, 1, at - 1) table substr($0, at + 7); next }
  { print }' "$2" >"$3"
