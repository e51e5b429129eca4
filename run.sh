#!/usr/bin/env bash
# Sets up, builds and serves the example site until it is interrupted.
#
#   ./run.sh            on http://127.0.0.1:8080/
#   PORT=9000 ./run.sh  on another port
#   ./run.sh --where    only prints the folder that the site is installed in

. "$(dirname "$0")/scripts/common.sh"

if [ "${1:-}" = --where ]; then
    site=$(build_root)/site
    echo "$site"
    exit 0
fi
[ $# -eq 0 ] || fail "run.sh takes no arguments but --where"

port=${PORT:-8080}
case $port in
    *[!0-9]*|'') fail "PORT must be a number, not '$port'" ;;
esac

"$source_dir/scripts/setup.sh" build serve
export PATH=$PATH:/usr/sbin
build_programs
site=$(build_root)/site
cmake --install "$build_dir" --prefix "$site" >/dev/null || fail "the site could not be installed"

# The server and the scripts run as an ordinary user; root hands its part over.
mkdir -p "$site/var/data"
server=(lighttpd -D -f "$site/share/zeph/lighttpd.conf")
if [ "$(id -u)" -eq 0 ]; then
    chown nobody "$site/var/data"
    server=(setpriv --reuid nobody --regid nogroup --clear-groups "${server[@]}")
fi

export ZEPH_SITE=$site ZEPH_PORT=$port
"${server[@]}" -tt || fail "lighttpd refuses its configuration"
if (: >"/dev/tcp/127.0.0.1/$port") 2>/dev/null; then
    fail "port $port is in use; name another one: PORT=8081 ./run.sh"
fi

# An interrupt reaches the server as well, which may be gone before this script looks.
stopped=
trap 'stopped=1' INT TERM HUP
"${server[@]}" &
child=$!
until (: >"/dev/tcp/127.0.0.1/$port") 2>/dev/null; do
    [ -z "$stopped" ] && kill -0 "$child" 2>/dev/null || break
    sleep 0.1
done
[ -n "$stopped" ] || ! kill -0 "$child" 2>/dev/null ||
    say "the example site is on http://127.0.0.1:$port/ (Ctrl-C stops it)"
status=0
[ -n "$stopped" ] || wait "$child" || status=$?
if [ -n "$stopped" ]; then
    kill "$child" 2>/dev/null || true
    wait "$child" 2>/dev/null || true
    status=0
fi
[ "$status" -eq 0 ] || fail "lighttpd ended with status $status"
echo "The example site has stopped."
