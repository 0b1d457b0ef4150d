#!/usr/bin/env bash
# Restarts a gateway if it hangs: restart_gateway.sh [NAME]. Needs jq.
set -euo pipefail
name=${1:-mail}
healthy=1  # the `status` of a process that works: look at what l_ps_1 shows on your server

process() { kvrpc call l_ps --timeout 10 | jq --arg name "$name" '.[] | select(.cmd == $name)'; }

found=$(process)
[ -n "$found" ] || { echo "there is no process $name" >&2; exit 1; }
if jq -e --argjson healthy $healthy '.pid != 0 and .status == $healthy' <<< "$found" > /dev/null
then
  echo "$name works"
  exit 0
fi

echo "$name hangs; restarting it"
kvrpc call l_stopgateway "\"$name\"" > /dev/null
for _ in {1..20}; do
  [ "$(process | jq .pid)" != 0 ] || break
  sleep 1
done
pid=$(process | jq .pid)
[ "$pid" = 0 ] || kvrpc call l_kill "$pid" > /dev/null
[ "$(kvrpc call l_startgateway "\"$name\"")" = true ] || { echo "it does not start" >&2; exit 1; }
echo "$name works again"
