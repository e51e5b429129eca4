#!/usr/bin/env bash
# Benchmarks of whole programs: the same work here and in its peers.
#
#   bench/run.sh             all of it
#   bench/run.sh start       a hello page: processes, started directly, in alternation
#   bench/run.sh serve       a hello page: requests a second under lighttpd
#   bench/run.sh vm [WORK]   scripts that work for a second or so: all of bench/vm, or
#                            those that are named
#
# ROUNDS= and SECONDS_EACH= change how long it takes. LIMIT= is for vm: who needs more
# seconds than that for a work is not timed with it (60).

. "$(dirname "$0")/../scripts/common.sh"

"$source_dir/scripts/setup.sh" build bench
export PATH=$PATH:/usr/sbin
build_programs
site=$(build_root)/bench
rm -rf "$site"
cmake --install "$build_dir" --prefix "$site" >/dev/null
mkdir -p "$site/pages/vm" "$site/data"
cgi=$site/lib/cgi-bin
cp "$source_dir"/bench/hello/hello.{php,lua,pl,py} "$site/pages/"
cp "$source_dir"/bench/vm/*.{php,lua,pl,py} "$site/pages/vm/"
cp "$build_dir"/bin/bench_hello_{dynamic,static,floor} "$site/pages/"
cp "$cgi/libzephconfig.so" "$site/pages/"
"$site/bin/zephasm" -o "$site/pages/hello.zpc" "$source_dir/bench/hello/hello.zasm"
for work in "$source_dir"/bench/vm/*.zasm; do
    page=$(basename "$work" .zasm)
    "$site/bin/zephasm" -o "$site/pages/vm/$page.zpc" "$work"
done
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

# The works of bench/vm: the size, which its page has built in and the others are told;
# the smaller size that python3 and perl get; and the part of the work that this leaves out,
# as the factor that their times are multiplied with.
vm_works() {
    cat <<END
count_global 100000000 20000000 5
count_local  300000000 60000000 5
fib          35        31       6.854
append       20        4        5
array        24        6        4
members      50000000  10000000 5
search       20000000  4000000  5
END
}

# vm_command CONTENDER WORK SIZE
vm_command() {
    local script=$site/pages/vm/$2
    case $1 in
        zeph)    echo "$cgi/zeph" ;;
        lua5.4)  echo "/usr/bin/lua5.4 $script.lua $3" ;;
        php)     echo "/usr/bin/php -n $script.php $3" ;;
        python3) echo "/usr/bin/python3 $script.py $3" ;;
        perl)    echo "/usr/bin/perl $script.pl $3" ;;
    esac
}

vm_run() { "${as_user[@]}" env -i PATH_INFO="/vm/$1.zpc" REQUEST_METHOD=GET "${@:2}"; }

# vm_sum CONTENDER WORK SIZE: prints the checksum of what the contender writes, without the
# head of a page. Fails with status 152 when that takes longer than the limit.
vm_sum() {
    local command line
    read -r -a command <<<"$(vm_command "$@")"
    (ulimit -S -t "$limit"; cd "$cgi" || exit; vm_run "$2" "${command[@]}") | {
        if [ "$1" = zeph ]; then
            while IFS= read -r line && [ -n "${line%$'\r'}" ]; do :; done
        fi
        cksum
    }
}

# vm_contenders WORK SIZE SMALLER FACTOR: prints a line for bench_spawn for each contender
# whose output is right and in time.
vm_contenders() {
    local name size factor sum status expected smaller
    expected=$(vm_sum lua5.4 "$1" "$2") || fail "$1: lua5.4 failed"
    smaller=$(vm_sum lua5.4 "$1" "$3") || fail "$1: lua5.4 failed"
    for name in zeph lua5.4 php python3 perl; do
        size=$2 factor=1
        case $name in
            python3|perl) size=$3 factor=$4 expected=$smaller ;;
        esac
        status=0
        sum=$(vm_sum "$name" "$1" "$size") || status=$?
        if [ "$status" -eq 152 ]; then
            say "$1: $name takes more than $limit seconds and is left out"
            continue
        fi
        [ "$status" -eq 0 ] || fail "$1: $name ended with status $status"
        [ "$sum" = "$expected" ] || fail "$1: $name writes something else than lua5.4"
        printf '%s\t%s\t%s\t%s\n' "$name" "$cgi" "$(vm_command "$name" "$1" "$size")" "$factor"
    done
}

# A row of bench_vm's table from what bench_spawn prints.
vm_row() {
    awk -v work="$1" -v limit="$limit" '
        NR > 1 { time[$1] = $2 }
        END {
            printf "%-14s %8s", work, "zeph" in time ? sprintf("%.0f", time["zeph"]) : ">" limit "s"
            split("lua5.4 php python3 perl", peers, " ")
            for (i = 1; i <= 4; ++i) {
                peer = peers[i]
                printf " %8s", peer in time ? sprintf("%.0f", time[peer]) : "-"
                both = peer in time && "zeph" in time
                printf " %6s", both ? sprintf("%.2f", time[peer] / time["zeph"]) : "-"
            }
            print ""
        }'
}

bench_vm() {
    local rounds=${ROUNDS:-3} limit=${LIMIT:-60} work size smaller factor contenders wanted
    for wanted in "$@"; do
        vm_works | grep -q "^$wanted " || fail "bench/vm has no work '$wanted'"
    done
    # Last of the benchmarks, so that the others run with the time limit of any site.
    echo "timeout_global = 0" >>"$cgi/zeph.conf"
    say "median of $rounds rounds: milliseconds of processor time, and their ratio to zeph's"
    say "python3 and perl do a part of each work; their times are scaled"
    printf '%-14s %8s %8s %6s %8s %6s %8s %6s %8s %6s\n' "" zeph lua5.4 "" php "" python3 "" perl ""
    while read -r work size smaller factor; do
        [ $# -eq 0 ] || [[ " $* " == *" $work "* ]] || continue
        contenders=$(vm_contenders "$work" "$size" "$smaller" "$factor")
        vm_run "$work" "$build_dir/bin/bench_spawn" "$rounds" cpu <<<"$contenders" | vm_row "$work"
    done < <(vm_works)
}

case ${1:-all} in
    start) bench_start ;;
    serve) bench_serve ;;
    vm)    bench_vm "${@:2}" ;;
    all)   bench_start; bench_serve; bench_vm ;;
    *)     fail "run.sh knows start, serve and vm, not '$1'" ;;
esac
