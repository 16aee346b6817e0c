#!/usr/bin/env bash
# Sets everything up, starts the server on the bundled data, and draws a sample and a summary with
# the command-line client.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

set_up
find_client
log=$(mktemp)
"$environment/bin/veltrix-server" --data-root data --port 0 --master 'local[2]' \
    2>"$log" &
server=$!
trap 'kill "$server" 2>/dev/null || true; wait "$server" || true; rm -f "$log"' EXIT
port=
for _ in $(seq 300); do
    port=$(sed -n 's/.*"listening", "port": \([0-9]*\).*/\1/p' "$log")
    [[ -z $port ]] || break
    kill -0 "$server" 2>/dev/null || { cat "$log" >&2; exit 1; }
    sleep 0.1
done
at=(--host 127.0.0.1 --port "$port")
"$client" cluster sample "${at[@]}" --file deliveries.csv --columns region,carrier,weight,days --size 5 --row-ids
"$client" cluster summarize "${at[@]}" --file deliveries.csv --columns weight,days \
    --group-by region,carrier --aggregation mean --counts
