# What the servers and proxies of the tests are set to. Read by run.sh, which has set `work` (a folder) and `port` (of
# everybody, by name).

tinyproxy_settings() {
    printf '%s\n' "Port $1" "Listen 127.0.0.1" "Allow 127.0.0.1" "Timeout 60" "MaxClients 50" "LogLevel Warning" \
        "LogFile \"$work/tinyproxy.log\""
}

squid_settings() {
    cat <<EOF_SQUID
http_port 127.0.0.1:$1
auth_param basic program /usr/lib/squid/basic_ncsa_auth $work/passwords
auth_param basic realm wpk
acl known proxy_auth REQUIRED
http_access allow known
http_access deny all
cache deny all
cache_mem 8 MB
# Squid 5 takes a request buffer that is full, because the server is slower than the client, for the client's end.
client_request_buffer_max_size 16 MB
pid_filename none
access_log stdio:$work/squid_access.log
cache_log $work/squid_cache.log
coredump_dir $work
shutdown_lifetime 0 seconds
netdb_filename none
pinger_enable off
EOF_SQUID
}

# nginx_front PORT BACKEND SETTING...: a server that passes everything on.
nginx_front() {
    echo "server { listen 127.0.0.1:$1; location / { proxy_pass http://127.0.0.1:$2; ${*:3} } }"
}

nginx_settings() {
    cat <<EOF_NGINX
daemon off;
worker_processes 1;
pid $work/nginx.pid;
error_log $work/nginx.log;
events { worker_connections 256; }
http {
    access_log off;
    client_body_temp_path $work/nginx_body;
    proxy_temp_path $work/nginx_proxy;
    fastcgi_temp_path $work/nginx_fastcgi;
    uwsgi_temp_path $work/nginx_uwsgi;
    scgi_temp_path $work/nginx_scgi;
    client_max_body_size 0;
    server { listen 127.0.0.1:${port[nginx]}; location / { return 200 "an ordinary page\n"; } }
    $(nginx_front "${port[nginx_front]}" "${port[backend]}" "proxy_pass_header Server;")
    $(nginx_front "${port[nginx_server]}" "${port[server]}" "proxy_pass_header Server;")
    $(nginx_front "${port[nginx_unbuffered]}" "${port[server]}" "proxy_pass_header Server; proxy_buffering off;" \
        "proxy_request_buffering off; proxy_http_version 1.1; proxy_set_header Connection '';")
    $(nginx_front "${port[nginx_own_name]}" "${port[server]}")
    $(nginx_front "${port[nginx_strict]}" "${port[server]}" "proxy_pass_header Server; client_max_body_size 1m;" \
        "client_body_timeout 1s; proxy_read_timeout 1s;")
}
EOF_NGINX
}

haproxy_settings() {
    cat <<EOF_HAPROXY
global
    maxconn 256
defaults
    mode http
    timeout connect 10s
    timeout client 60s
    timeout server 60s
listen front
    bind 127.0.0.1:${port[haproxy]}
    server one 127.0.0.1:${port[backend]}
listen server
    bind 127.0.0.1:${port[haproxy_server]}
    server one 127.0.0.1:${port[server]}
listen strict
    bind 127.0.0.1:${port[haproxy_strict]}
    # The time for a request then runs until its body is there.
    option http-buffer-request
    timeout http-request 1s
    timeout server 1s
    http-request deny deny_status 413 if { req.hdr_val(content-length) gt 1000000 }
    server one 127.0.0.1:${port[server]}
EOF_HAPROXY
}
