#!/usr/bin/env python3
"""Latency of keep-alive requests to the gateway: CLIENTS threads, each on
one kept-alive connection, each sending REQUESTS small calls
(POST /api/call GetNumberOfAnnotationSets) one after the other; prints the
p50, p95 and p99 of all of them. Loopback only, bounded in count.

    bench/gateway_keepalive.py PROGRAM [--clients 8] [--requests 400] [--no-token]

--no-token runs a program from before the gateway took tokens.
"""
import argparse
import http.client
import re
import secrets
import statistics
import subprocess
import threading
import time


def start(program, token):
    args = [program, "--port", "0"] + (["--token", token] if token else [])
    child = subprocess.Popen(args, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    deadline = time.time() + 60
    while time.time() < deadline:
        line = child.stdout.readline()
        found = re.search(r"http://127\.0\.0\.1:(\d+)/", line)
        if found:
            return child, int(found.group(1))
    child.kill()
    raise SystemExit("the program did not print its address")


def client(port, token, requests, times):
    connection = http.client.HTTPConnection("127.0.0.1", port)
    headers = {"Content-Type": "application/json"}
    if token:
        headers["Authorization"] = "Bearer " + token
    body = '{"method":"GetNumberOfAnnotationSets","args":[]}'
    for _ in range(requests):
        began = time.perf_counter()
        connection.request("POST", "/api/call", body, headers)
        reply = connection.getresponse()
        reply.read()
        times.append(time.perf_counter() - began)
        if reply.status != 200:
            raise SystemExit(f"status {reply.status}")
    connection.close()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("--clients", type=int, default=8)
    parser.add_argument("--requests", type=int, default=400)
    parser.add_argument("--no-token", action="store_true")
    options = parser.parse_args()
    token = None if options.no_token else secrets.token_hex(16)
    child, port = start(options.program, token)
    try:
        times = []
        threads = [threading.Thread(target=client, args=(port, token, options.requests, times))
                   for _ in range(options.clients)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        times.sort()
        ms = lambda q: times[min(len(times) - 1, int(q * len(times)))] * 1000
        print(f"{options.clients} clients x {options.requests} requests: p50 {ms(0.5):.2f} ms, "
              f"p95 {ms(0.95):.2f} ms, p99 {ms(0.99):.2f} ms, mean {statistics.mean(times) * 1000:.2f} ms")
    finally:
        child.terminate()
        child.wait(timeout=30)


if __name__ == "__main__":
    main()
