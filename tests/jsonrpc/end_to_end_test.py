#!/usr/bin/env python3
"""End-to-end tests of the example JSON-RPC server with real clients.

Usage: end_to_end_test.py SERVER_BINARY

Each test case starts the server on an ephemeral loopback port, drives it with curl and
Python's http.client (and raw sockets where a client must misbehave), and stops it with
SIGTERM, checking that it exits cleanly. Every wait is bounded.
"""
import base64
import gzip
import hashlib
import hmac
import http.client
import json
import os
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time
import unittest

SERVER = None
TIMEOUT = 10


class Server:
    def __init__(self, *extra):
        self.dir = tempfile.TemporaryDirectory()
        port_file = os.path.join(self.dir.name, "port")
        # Files, not pipes: a pipe nobody reads until the stop would block the call log.
        self.out = open(os.path.join(self.dir.name, "out"), "w+")
        self.err = open(os.path.join(self.dir.name, "err"), "w+")
        self.process = subprocess.Popen(
            [SERVER, "--port", "0", "--port-file", port_file, *extra], stdout=self.out, stderr=self.err, text=True)
        deadline = time.monotonic() + TIMEOUT
        while not (os.path.exists(port_file) and open(port_file).read().strip()):
            if time.monotonic() > deadline or self.process.poll() is not None:
                self.process.kill()
                raise RuntimeError("server did not start")
            time.sleep(0.02)
        self.port = int(open(port_file).read())

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait(timeout=TIMEOUT)
        output = []
        for stream in (self.out, self.err):
            stream.seek(0)
            output.append(stream.read())
            stream.close()
        self.dir.cleanup()
        return (self.process.returncode, *output)


def call(method, params=None, ident=1):
    body = {"version": "1.1", "method": method, "id": ident}
    if params is not None:
        body["params"] = params
    return json.dumps(body)


def hs256_token(claims):
    encode = lambda data: base64.urlsafe_b64encode(data).rstrip(b"=")
    header = encode(json.dumps({"alg": "HS256", "typ": "JWT"}).encode())
    payload = encode(json.dumps(claims).encode())
    signature = hmac.new(b"olma-demo-secret-for-hs256-tokens", header + b"." + payload, hashlib.sha256).digest()
    return (header + b"." + payload + b"." + encode(signature)).decode()


def read_response(stream):
    """Reads one HTTP/1.1 response from a binary file object: (status, headers, body)."""
    status = int(stream.readline().split()[1])
    headers = {}
    while True:
        line = stream.readline().decode().strip()
        if not line:
            break
        name, value = line.split(":", 1)
        headers[name.strip().lower()] = value.strip()
    body = stream.read(int(headers.get("content-length", "0")))
    return status, headers, body


class ServerTestCase(unittest.TestCase):
    server_arguments = ()

    def setUp(self):
        self.server = Server(*self.server_arguments)
        self.url = "http://127.0.0.1:%d/" % self.server.port

    def tearDown(self):
        code, _, err = self.server.stop()
        self.assertEqual(code, 0, err)

    def curl(self, body, *options):
        result = subprocess.run(
            ["curl", "-sS", "--max-time", str(TIMEOUT), "-H", "Content-Type: application/json",
             "--data-binary", body, *options, self.url],
            capture_output=True, timeout=TIMEOUT + 5)
        self.assertEqual(result.returncode, 0, result.stderr)
        return json.loads(result.stdout)

    def status(self, *options):
        result = subprocess.run(
            ["curl", "-sS", "--max-time", str(TIMEOUT), "-o", "/dev/null", "-w", "%{http_code}", *options, self.url],
            capture_output=True, timeout=TIMEOUT + 5, text=True)
        return int(result.stdout)


class DemoScenarios(ServerTestCase):
    def test_valid_call_returns_the_result(self):
        answer = self.curl(call("com.example.tasks.create", {"title": "Buy milk", "tags": ["home"]}, 7))
        self.assertEqual(answer["id"], 7)
        self.assertEqual(answer["result"]["title"], "Buy milk")
        self.assertEqual(answer["result"]["tags"], ["home"])
        self.assertEqual(self.curl(call("com.example.tasks.count"))["result"], 1)

    def test_invalid_input_is_answered_in_german(self):
        answer = self.curl(call("com.example.tasks.create", {"title": 42}), "-H", "Accept-Language: de-DE, en;q=0.5")
        error = answer["error"]
        self.assertEqual(error["code"], -32602)
        self.assertEqual(error["error"]["@name"], "com.zorvex.olma.std.errors.invalid_argument")
        first, second = error["error"]["messages"]
        self.assertEqual(first["id"], "olma.invoke.invalid.input")
        self.assertEqual(first["localized"], "Ungültige Eingabe für die Methode: com.example.tasks.create")
        self.assertEqual(second["default_message"], "Type mismatch: STRING != 42")

    def test_unknown_method_and_missing_field(self):
        error = self.curl(call("com.example.tasks.remove", {}))["error"]
        self.assertEqual(error["code"], -32601)
        self.assertEqual(error["error"]["messages"][0]["default_message"],
                         "Interface missing method: com.example.tasks[remove]")
        error = self.curl(call("com.example.nothing.get", {}), "-H", "Accept-Language: fr")["error"]
        self.assertEqual(error["message"], "Interface inconnue : com.example.nothing")
        error = self.curl(call("com.example.tasks.get", {}))["error"]
        self.assertEqual(error["error"]["@name"], "com.zorvex.olma.std.errors.unexpected_input")

    def test_protected_method_needs_credentials(self):
        error = self.curl(call("com.example.tasks.stats"))["error"]
        self.assertEqual(error["error"]["@name"], "com.zorvex.olma.std.errors.unauthenticated")
        self.assertEqual(error["code"], -32001)
        self.assertEqual(self.curl(call("com.example.tasks.stats"), "-u", "demo:wrong")["error"]["code"], -32001)
        self.assertEqual(self.curl(call("com.example.tasks.stats"), "-u", "demo:demo-pass")["result"]["user"], "demo")
        token = hs256_token({"sub": "ann"})
        answer = self.curl(call("com.example.tasks.stats"), "-H", "Authorization: Bearer " + token)
        self.assertEqual(answer["result"]["user"], "ann")
        forged = token[:-2] + ("AA" if not token.endswith("AA") else "BB")
        self.assertIn("error", self.curl(call("com.example.tasks.stats"), "-H", "Authorization: Bearer " + forged))

    def test_introspection(self):
        listed = self.curl(call("com.zorvex.olma.std.introspection.list"))["result"]
        self.assertIn({"name": "com.example.tasks",
                       "methods": ["count", "create", "get", "list", "slow_count", "stats"]}, listed)
        method = self.curl(call("com.zorvex.olma.std.introspection.get", {"method": "com.example.tasks.get"}))
        self.assertEqual(method["result"]["input"]["name"], "com.example.tasks.get_input")
        checksum = self.curl(call("com.zorvex.olma.std.introspection.checksum"))["result"]
        self.assertRegex(checksum, "^[0-9a-f]{8}$")
        self.assertEqual(checksum, self.curl(call("com.zorvex.olma.std.introspection.checksum"))["result"])

    def test_gzip_both_ways(self):
        titles = ["task %d %s" % (i, "x" * 40) for i in range(40)]
        for title in titles:
            self.curl(call("com.example.tasks.create", {"title": title}))
        packed = os.path.join(self.server.dir.name, "call.gz")
        with open(packed, "wb") as out:
            out.write(gzip.compress(call("com.example.tasks.list").encode()))
        connection = http.client.HTTPConnection("127.0.0.1", self.server.port, timeout=TIMEOUT)
        connection.request("POST", "/", open(packed, "rb").read(),
                           {"Content-Encoding": "gzip", "Accept-Encoding": "gzip"})
        response = connection.getresponse()
        self.assertEqual(response.getheader("Content-Encoding"), "gzip")
        answer = json.loads(gzip.decompress(response.read()))
        self.assertEqual([task["title"] for task in answer["result"]], titles)
        # curl inflates the answer itself.
        self.assertEqual(len(self.curl("@" + packed, "-H", "Content-Encoding: gzip", "--compressed")["result"]), 40)

    def test_http_level_refusals(self):
        self.assertEqual(self.status(), 405)  # GET
        self.assertEqual(self.status("-X", "POST", "-H", "Content-Encoding: br", "--data-binary", "{}"), 415)
        self.assertEqual(self.curl("{not json")["error"]["code"], -32700)
        self.assertEqual(self.curl('{"version":"1.1","params":{}}')["error"]["code"], -32600)
        self.assertEqual(self.curl('{"method":"com.example.tasks.count","params":{},"id":[1,{"a":2}]}')["id"],
                         [1, {"a": 2}])
        deep = call("com.example.tasks.create", {"title": "x", "tags": json.loads("[" * 80 + "]" * 80)})
        self.assertEqual(self.curl(deep)["error"]["code"], -32700)


class Limits(ServerTestCase):
    server_arguments = ("--max-body", "65536", "--request-timeout-ms", "500", "--idle-timeout-ms", "1500")

    def test_oversize_body_and_gzip_bomb_give_413(self):
        big = os.path.join(self.server.dir.name, "big.json")
        with open(big, "w") as out:
            out.write(call("com.example.tasks.create", {"title": "x" * 100000}))
        self.assertEqual(self.status("--data-binary", "@" + big), 413)
        bomb = os.path.join(self.server.dir.name, "bomb.gz")
        with open(bomb, "wb") as out:
            out.write(gzip.compress(b" " * (8 << 20)))
        self.assertLess(os.path.getsize(bomb), 65536)
        self.assertEqual(self.status("--data-binary", "@" + bomb, "-H", "Content-Encoding: gzip"), 413)

    def test_large_invalid_input_is_bounded_by_the_failure_limit(self):
        answer = self.curl(call("com.example.tasks.create", {"title": "x", "tags": list(range(5000))}))
        messages = answer["error"]["error"]["messages"]
        self.assertLessEqual(len(messages), 102)
        self.assertEqual(messages[-1]["id"], "olma.data.validation.truncated")

    def test_truncated_and_slow_requests_are_dropped(self):
        with socket.create_connection(("127.0.0.1", self.server.port), timeout=TIMEOUT) as sock:
            sock.sendall(b"POST / HTTP/1.1\r\nHost: x\r\nContent-Length: 100\r\n\r\n{\"method\"")
            sock.shutdown(socket.SHUT_WR)
            self.assertEqual(sock.recv(100), b"")  # closed without an answer
        with socket.create_connection(("127.0.0.1", self.server.port), timeout=TIMEOUT) as sock:
            sock.sendall(b"POST / HTTP/1.1\r\nHost: x\r\n")  # and then nothing
            started = time.monotonic()
            self.assertEqual(sock.recv(100), b"")
            self.assertLess(time.monotonic() - started, 5)
        with socket.create_connection(("127.0.0.1", self.server.port), timeout=TIMEOUT) as sock:
            started = time.monotonic()
            self.assertEqual(sock.recv(100), b"")  # idle: closed after the idle timeout
            self.assertGreater(time.monotonic() - started, 1)
        with socket.create_connection(("127.0.0.1", self.server.port), timeout=TIMEOUT) as sock:
            sock.sendall(b"NOT HTTP AT ALL\r\n\r\n")
            self.assertEqual(read_response(sock.makefile("rb"))[0], 400)


class KeepAlive(ServerTestCase):
    def test_pipelined_requests_are_answered_in_order(self):
        requests = b""
        for i in range(30):
            body = call("com.example.tasks.create", {"title": "t%d" % i}, i).encode()
            requests += (b"POST / HTTP/1.1\r\nHost: x\r\nContent-Type: application/json\r\n"
                         b"Content-Length: %d\r\n\r\n" % len(body)) + body
        with socket.create_connection(("127.0.0.1", self.server.port), timeout=TIMEOUT) as sock:
            sock.sendall(requests)
            stream = sock.makefile("rb")
            for i in range(30):
                status, headers, body = read_response(stream)
                self.assertEqual(status, 200)
                answer = json.loads(body)
                self.assertEqual((answer["id"], answer["result"]["title"]), (i, "t%d" % i))

    def test_thousands_of_pipelined_requests_in_one_burst(self):
        # Answers to buffered requests must not nest: a deep burst would exhaust the stack.
        body = call("com.example.tasks.count", {}).encode()
        request = b"POST / HTTP/1.1\r\nHost: x\r\nContent-Length: %d\r\n\r\n%s" % (len(body), body)
        count = 3000
        with socket.create_connection(("127.0.0.1", self.server.port), timeout=TIMEOUT) as sock:
            sender = threading.Thread(target=sock.sendall, args=(request * count,))
            sender.start()
            stream = sock.makefile("rb")
            statuses = [read_response(stream)[0] for _ in range(count)]
            sender.join(TIMEOUT)
        self.assertEqual(statuses, [200] * count)

    def test_concurrent_keep_alive_clients_lose_and_double_nothing(self):
        seen = []
        lock = threading.Lock()

        def client(number):
            connection = http.client.HTTPConnection("127.0.0.1", self.server.port, timeout=TIMEOUT)
            for i in range(40):
                ident = number * 1000 + i
                connection.request("POST", "/", call("com.example.tasks.create", {"title": str(ident)}, ident))
                answer = json.loads(connection.getresponse().read())
                with lock:
                    seen.append((answer["id"], answer["result"]["title"]))
            connection.close()

        threads = [threading.Thread(target=client, args=(n,)) for n in range(8)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join(TIMEOUT * 3)
        self.assertEqual(sorted(seen), sorted((n * 1000 + i, str(n * 1000 + i)) for n in range(8) for i in range(40)))
        self.assertEqual(self.curl(call("com.example.tasks.count"))["result"], 320)


class GracefulStop(unittest.TestCase):
    def test_sigterm_lets_the_call_in_flight_finish(self):
        server = Server()
        answers = []

        def slow():
            connection = http.client.HTTPConnection("127.0.0.1", server.port, timeout=TIMEOUT)
            connection.request("POST", "/", call("com.example.tasks.slow_count", {"steps": 8}, 5))
            response = connection.getresponse()
            answers.append((response.getheader("Connection"), json.loads(response.read())))

        thread = threading.Thread(target=slow)
        thread.start()
        time.sleep(0.15)
        code, out, err = server.stop()
        thread.join(TIMEOUT)
        self.assertEqual(code, 0, err)
        self.assertEqual(answers, [("close", {"version": "1.1", "id": 5, "result": 0})])
        self.assertIn("stopped", out)
        self.assertIn("call com.example.tasks.slow_count from 127.0.0.1: success", err)


if __name__ == "__main__":
    SERVER = sys.argv.pop(1)
    unittest.main(verbosity=2)
