#!/usr/bin/env bash
# Installs the pinned MCP client SDK and conformance suite (from the lock
# file) when they are missing or stale, then runs the client tests.
set -euo pipefail
cd "$(dirname "$0")"
if [ ! -f node_modules/.package-lock.json ] || [ package-lock.json -nt node_modules/.package-lock.json ]; then
  npm ci --no-audit --no-fund --loglevel=error
fi
exec node mcp_clients_test.mjs "$@"
