#!/usr/bin/env bash
# Prints how many sessions there are, the users, and the jobs that wait to be sent. Needs jq.
set -euo pipefail

kvrpc call a_get_configdata_new false |
  jq -r '.v1 | "\(.aktlogins) of \(.maxlogins) sessions are open"'

echo "users:"
kvrpc call o_get_user_ll |
  jq -r '.first[].data | "  \(.userid)\t\(.name)\ton \(.alphaid)"'

kvrpc call a_get_sendjob_ll -s selection=0 -s v0.anz=1000 |
  jq -r '"\(.anz) queued:", (.first[].data.v0.s_rec | values |
    "  job \(.faxid) of \(.userid) to \(.empfnr)")'
