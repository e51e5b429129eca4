#!/usr/bin/env bash
# Benchmarks of whole requests: a hello page here and in its peers.
#
#   bench/run.sh             all of it
#   bench/run.sh start       processes, started directly, in alternation
#   bench/run.sh serve       requests a second under lighttpd
#
# ROUNDS= and SECONDS_EACH= change how long it takes.

. "$(dirname "$0")/../scripts/common.sh"

"$source_dir/scripts/setup.sh" build bench
export PATH=$PATH:/usr/sbin
build_programs
site=$(build_root)/bench
rm -rf "$site"
cmake --install "$build_dir" --prefix "$site" >/dev/null
mkdir -p "$site/pages" "$site/data"
cgi=$site/lib/cgi-bin
cp "$source_dir"/bench/hello/hello.{php,lua,pl,py} "$site/pages/"
cp "$build_dir"/bin/bench_hello_{dynamic,static,floor} "$site/pages/"
cp "$cgi/libzephconfig.so" "$site/pages/"
"$site/bin/zephasm" -o "$site/pages/hello.zpc" "$source_dir/bench/hello/hello.zasm"
strip "$cgi/zeph" "$site"/pages/bench_hello_*
cat >"$cgi/zeph.conf" <<END
dir_zeph = $site/pages
dir_data = $site/data
cookies = 0
END

# The program refuses to run a page as root.
as_user=()
if [ "$(id -u)" -eq 0 ]; then
    chown -R nobody "$site/data" "$site/pages"
    as_user=(setpriv --reuid nobody --regid nogroup --clear-groups)
fi

bench_start() {
    local rounds=${ROUNDS:-400}
    say "$rounds rounds of each process"
    {
        printf 'C program\t%s\t%s\n' "$site/pages" "$site/pages/bench_hello_dynamic"
        printf 'C program, static\t%s\t%s\n' "$site/pages" "$site/pages/bench_hello_static"
        printf 'C, thread and library\t%s\t%s\n' "$site/pages" "$site/pages/bench_hello_floor"
        printf 'zeph\t%s\t%s\n' "$cgi" "$cgi/zeph"
        printf 'lua5.4\t%s\t%s\n' "$site/pages" "/usr/bin/lua5.4 hello.lua"
        printf 'perl\t%s\t%s\n' "$site/pages" "/usr/bin/perl hello.pl"
        printf 'python3\t%s\t%s\n' "$site/pages" "/usr/bin/python3 hello.py"
        printf 'php-cgi\t%s\t%s\n' "$site/pages" "/usr/bin/php-cgi"
    } | "${as_user[@]}" env -i PATH_INFO=/hello.zpc REDIRECT_STATUS=200 GATEWAY_INTERFACE=CGI/1.1 \
        REQUEST_METHOD=GET SCRIPT_FILENAME="$site/pages/hello.php" \
        "$build_dir/bin/bench_spawn" "$rounds"
}

bench_serve() {
    local seconds=${SECONDS_EACH:-5} port=18080 name path
    cat >"$site/lighttpd.conf" <<END
server.modules = ( "mod_alias", "mod_cgi" )
server.bind = "127.0.0.1"
server.port = $port
server.document-root = "$site/pages"
alias.url = ( "/zeph" => "$cgi/zeph", "/c" => "$site/pages/bench_hello_dynamic" )
\$HTTP["url"] =~ "^/(zeph|c)(/|\$)" { cgi.assign = ( "" => "" ) }
cgi.assign = ( ".php" => "/usr/bin/php-cgi", ".lua" => "/usr/bin/lua5.4",
               ".pl" => "/usr/bin/perl", ".py" => "/usr/bin/python3" )
END
    "${as_user[@]}" lighttpd -D -f "$site/lighttpd.conf" &
    local server=$!
    trap 'kill "$server" 2>/dev/null || true' EXIT
    for _ in $(seq 100); do
        (: >"/dev/tcp/127.0.0.1/$port") 2>/dev/null && break
        kill -0 "$server" || fail "lighttpd did not start"
    done
    say "$seconds seconds of each address"
    printf '%-24s %s\n' "" "requests a second"
    for path in c zeph/hello.zpc hello.lua hello.pl hello.py hello.php; do
        name=$(wrk -t 1 -c 4 -d "${seconds}s" "http://127.0.0.1:$port/$path" |
            awk '/Requests\/sec/ { rate = $2 } /Non-2xx/ { rate = "failed: " $0 } END { print rate }')
        printf '%-24s %s\n' "$path" "$name"
    done
    kill "$server"
    wait "$server" || true
    trap - EXIT
}

case ${1:-all} in
    start) bench_start ;;
    serve) bench_serve ;;
    all)   bench_start; bench_serve ;;
    *)     fail "run.sh knows start and serve, not '$1'" ;;
esac
