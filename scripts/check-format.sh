#!/usr/bin/env bash
# Fails, naming the files, when a C++ file in the tree differs from what
# clang-format makes of it under the root's .clang-format. `--fix` formats
# them instead.
set -euo pipefail
cd "$(dirname "$0")/.."

if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
  mapfile -t files < <(git ls-files --cached --others --exclude-standard -- '*.cpp' '*.h')
else
  mapfile -t files < <(find app bench core fuzz platform tests -name '*.cpp' -o -name '*.h')
fi

if [ "${1:-}" = "--fix" ]; then
  clang-format -i "${files[@]}"
  exit 0
fi

unformatted=()
for file in "${files[@]}"; do
  [ -f "$file" ] || continue
  if ! clang-format --dry-run -Werror "$file" >/dev/null 2>&1; then
    unformatted+=("$file")
  fi
done
if [ ${#unformatted[@]} -gt 0 ]; then
  echo "not formatted (run scripts/check-format.sh --fix):" >&2
  printf '  %s\n' "${unformatted[@]}" >&2
  exit 1
fi
