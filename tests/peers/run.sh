#!/usr/bin/env bash
# Starts real servers and proxies on loopback ports chosen by the system, runs the given command with the ports in its
# environment, and stops everything again.
set -euo pipefail

work=$(mktemp -d)
# Squid gives up root's rights and must still reach its files.
chmod 755 "$work"
started=()
stop() {
    for pid in "${started[@]}"; do kill "$pid" 2>/dev/null || true; done
    for pid in "${started[@]}"; do wait "$pid" 2>/dev/null || true; done
    rm -rf "$work"
}
trap stop EXIT

# All held at once, so that no two are the same, and let go before anybody uses them.
read -r backend tinyproxy tinyproxy_password squid nginx nginx_front haproxy < <(python3 -c '
import socket
sockets = [socket.create_server(("127.0.0.1", 0)) for _ in range(7)]
ports = [s.getsockname()[1] for s in sockets]
for s in sockets:
    s.close()
print(*ports)')

start() {
    "$@" >>"$work/log" 2>&1 &
    started+=($!)
}

await() {
    for _ in $(seq 300); do
        if (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; then return; fi
        sleep 0.1
    done
    echo "nobody listens on port $1" >&2
    cat "$work/log" >&2
    exit 1
}

tinyproxy_settings() {
    printf '%s\n' "Port $1" "Listen 127.0.0.1" "Allow 127.0.0.1" "Timeout 60" "MaxClients 50" "LogLevel Warning" \
        "LogFile \"$work/tinyproxy.log\""
}
tinyproxy_settings "$tinyproxy" >"$work/tinyproxy.conf"
{ tinyproxy_settings "$tinyproxy_password"; echo "BasicAuth user pass"; } >"$work/tinyproxy_password.conf"
start tinyproxy -d -c "$work/tinyproxy.conf"
start tinyproxy -d -c "$work/tinyproxy_password.conf"

python3 -W ignore -c 'import crypt; print("user:" + crypt.crypt("pass", "$1$wpktests$"))' >"$work/passwords"
cat >"$work/squid.conf" <<EOF
http_port 127.0.0.1:$squid
auth_param basic program /usr/lib/squid/basic_ncsa_auth $work/passwords
auth_param basic realm wpk
acl known proxy_auth REQUIRED
http_access allow known
http_access deny all
cache deny all
cache_mem 8 MB
pid_filename none
access_log none
cache_log /dev/null
coredump_dir $work
shutdown_lifetime 0 seconds
netdb_filename none
pinger_enable off
EOF
start squid -N -f "$work/squid.conf"

cat >"$work/nginx.conf" <<EOF
daemon off;
worker_processes 1;
pid $work/nginx.pid;
error_log $work/nginx.log;
events { worker_connections 64; }
http {
    access_log off;
    client_body_temp_path $work/nginx_body;
    proxy_temp_path $work/nginx_proxy;
    fastcgi_temp_path $work/nginx_fastcgi;
    uwsgi_temp_path $work/nginx_uwsgi;
    scgi_temp_path $work/nginx_scgi;
    client_max_body_size 0;
    server {
        listen 127.0.0.1:$nginx;
        location / { return 200 "an ordinary page\n"; }
    }
    server {
        listen 127.0.0.1:$nginx_front;
        location / {
            proxy_pass http://127.0.0.1:$backend;
            proxy_pass_header Server;
        }
    }
}
EOF
start nginx -c "$work/nginx.conf" -e "$work/nginx.log"

cat >"$work/haproxy.cfg" <<EOF
global
    maxconn 64
defaults
    mode http
    timeout connect 10s
    timeout client 60s
    timeout server 60s
frontend front
    bind 127.0.0.1:$haproxy
    default_backend messages
backend messages
    server one 127.0.0.1:$backend
EOF
start haproxy -db -f "$work/haproxy.cfg"

for port in $tinyproxy $tinyproxy_password $squid $nginx $nginx_front $haproxy; do await "$port"; done

export WPK_TEST_BACKEND_PORT=$backend
export WPK_TEST_TINYPROXY_PORT=$tinyproxy
export WPK_TEST_TINYPROXY_PASSWORD_PORT=$tinyproxy_password
export WPK_TEST_SQUID_PORT=$squid
export WPK_TEST_NGINX_PORT=$nginx
export WPK_TEST_NGINX_FRONT_PORT=$nginx_front
export WPK_TEST_HAPROXY_PORT=$haproxy
"$@"
