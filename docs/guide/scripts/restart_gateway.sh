#!/usr/bin/env bash
# Restarts a gateway if it hangs: restart_gateway.sh [NAME]. Needs jq.
set -euo pipefail
name=${1:-mail}
healthy=1  # the `status` of a process that works: look at what l_ps_1 shows on your server

process() { kvrpc call l_ps --timeout 10 | jq --arg name "$name" '.[] | select(.cmd == $name)'; }
# Waits up to 20 seconds until jq finds the process as asked.
wait_until() {
  for _ in {1..20}; do
    if process | jq -e "$1" > /dev/null; then return 0; fi
    sleep 1
  done
  return 1
}
stopped() { wait_until '.pid == 0'; }
runs() { wait_until '.pid != 0'; }

found=$(process)
[ -n "$found" ] || { echo "there is no process $name" >&2; exit 1; }
if jq -e --argjson healthy $healthy '.pid != 0 and .status == $healthy' <<< "$found" > /dev/null
then
  echo "$name works"
  exit 0
fi

echo "$name hangs; restarting it"
kvrpc call l_stopgateway "\"$name\"" > /dev/null
stopped || { kvrpc call l_kill "$(jq .pid <<< "$found")" > /dev/null; stopped; } ||
  { echo "$name does not stop" >&2; exit 1; }
[ "$(kvrpc call l_startgateway "\"$name\"")" = true ] && runs ||
  { echo "$name does not start" >&2; exit 1; }
echo "$name works again"
