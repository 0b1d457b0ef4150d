#!/usr/bin/env bash
# Sends a text file as a fax and says when it is through: send_text_fax.sh NUMBER FILE
# FAX_USER and FAX_PASSWORD name the user. Needs jq.
set -euo pipefail
number=$1 file=$2
export FAX_USER=${FAX_USER:-meier} FAX_PASSWORD=${FAX_PASSWORD:-geheim}

# The password goes through a pipe, because every user of the machine sees the words of a command.
login=$(jq -n '{userid: env.FAX_USER, passwor: env.FAX_PASSWORD}' | kvrpc call a_login -)
[ "$(jq .err <<< "$login")" = 0 ] || { echo "$FAX_USER may not log in: $login" >&2; exit 1; }

session=$(jq .loginid <<< "$login")
trap 'kvrpc call a_logout -s userid="$FAX_USER" -s loginid="$session" > /dev/null' EXIT

document=$(kvrpc call a_mk_dok "\"$FAX_USER\"")
jq -nc --rawfile text "$file" --argjson faxid "$document" \
  '$text | rtrimstr("\f") | split("\f") | to_entries[] |
   {userid: env.FAX_USER, $faxid, seitennr: (.key + 1), data: .value}' |
  while read -r page; do kvrpc call a_put_page - <<< "$page" > /dev/null; done
answer=$(kvrpc call a_send_new -s selection=1 -s v1.userid="$FAX_USER" \
  -s v1.poolfaxid="$document" -s v1.s_rec_v1.empfnr="$number")
[ "$(jq .v0.errcode <<< "$answer")" = 0 ] || { echo "refused: $answer" >&2; exit 1; }
job=$(jq .v0.faxid <<< "$answer")

for _ in {1..600}; do
  record=$(kvrpc call a_get_s_rec_new -s selection=1 -s v1.userid="$FAX_USER" -s v1.faxid="$job" |
    jq .s_rec_new.v1)
  if jq -e '.errstat != 0' <<< "$record" > /dev/null; then
    jq -r '"not sent: errstat \(.errstat), \(.error_string)"' <<< "$record" >&2
    exit 1
  elif jq -e '.seiten > 0 and .seitenok == .seiten' <<< "$record" > /dev/null; then
    echo "$file is through to $number"
    exit 0
  fi
  sleep 1
done
echo "job $job is not through after ten minutes" >&2
exit 1
