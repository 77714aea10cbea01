#!/bin/sh
# Serves a content folder on this machine with the rules of the real server, as an ordinary user:
#
#     serve-locally.sh CONTENT PORT RUNTIME
#
# listens on 127.0.0.1:PORT until it is stopped and keeps its logs, process number and temporary
# files in the folder RUNTIME. VORNAK_SERVER_RATE, when set, is the most that a connection gets a
# second, as nginx writes sizes ("3m"): over loopback nobody would see a download. The shell becomes
# nginx: the caller's child is the server itself.
set -eu

if [ $# -ne 3 ]; then
    echo "Usage: $0 CONTENT PORT RUNTIME" >&2
    exit 2
fi
PATH=$PATH:/usr/sbin:/usr/local/sbin
if ! command -v nginx >/dev/null; then
    echo "$0: nginx is needed; on Debian: apt-get install nginx-light" >&2
    exit 3
fi

here=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$1" "$3"
content=$(cd "$1" && pwd)
port=$2
runtime=$(cd "$3" && pwd)

# Folder names may hold what sed takes for its own.
quoted() { printf '%s' "$1" | sed 's/[&|\\]/\\&/g'; }
sed -e "s|@CONTENT@|$(quoted "$content")|" -e "s|@PORT@|$(quoted "$port")|" \
    -e "s|@RATE@|${VORNAK_SERVER_RATE:+limit_rate $VORNAK_SERVER_RATE;}|" \
    -e "s|@RUNTIME@|$(quoted "$runtime")|g" -e "s|@SITE@|$(quoted "$here/vornak-content.conf")|" \
    "$here/nginx-local.conf.in" >"$runtime/nginx.conf"
# Root's workers would become another user, who may not read the caller's temporary folders.
if [ "$(id -u)" -eq 0 ]; then
    exec nginx -e "$runtime/error.log" -p "$runtime" -c "$runtime/nginx.conf" -g 'user root;'
fi
exec nginx -e "$runtime/error.log" -p "$runtime" -c "$runtime/nginx.conf"
