#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The configuration of nginx that docs/serve.md has, before a real host: taken from the page as it stands, but for ports and the
places of the certificate. Skipped (77) where nginx or openssl is missing.
  proxy_test.py SOURCE_DIR TOOL"""
import http.client
import json
import os
import re
import shutil
import signal
import socket
import sqlite3
import ssl
import subprocess
import sys
import tempfile
import time

SOURCE, TOOL = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
NAME = "shop.example.com"
WORK = tempfile.mkdtemp(prefix="mercato-proxy-")
started = []


def run(*words):
    return subprocess.run(words, cwd=WORK, check=True, capture_output=True, text=True).stdout


def start(*words, **options):
    started.append(subprocess.Popen(words, cwd=WORK, **options))
    return started[-1]


def free_port():
    with socket.create_server(("127.0.0.1", 0)) as server:
        return server.getsockname()[1]


def equal(expected, told):
    if told != expected:
        raise AssertionError(f"expected {expected!r}, but it was {told!r}")


def configuration(port, host_port):
    with open(f"{SOURCE}/docs/serve.md", encoding="utf-8") as page:
        block = re.search(r"^    server \{\n.*?^    \}\n", page.read(), re.MULTILINE | re.DOTALL).group()
    for written, here in [("listen 443 ", f"listen 127.0.0.1:{port} "), ("/etc/ssl/shop.", f"{WORK}/shop."),
                          ("http://127.0.0.1:8080;", f"http://127.0.0.1:{host_port};")]:
        if written not in block:
            raise AssertionError(f"the page has no {written!r}")
        block = block.replace(written, here)
    temporary = "".join(f"{kind}_temp_path {WORK}/{kind};\n" for kind in ("client_body", "proxy", "fastcgi", "uwsgi", "scgi"))
    # As root nginx works as another user, who may not enter this folder.
    user = "user root;\n" if os.geteuid() == 0 else ""
    return f"{user}daemon off;\npid {WORK}/pid;\nerror_log {WORK}/log;\nevents {{}}\nhttp {{\naccess_log off;\n{temporary}{block}}}\n"


class Browser:
    """Asks by the name of the proxy, which the machine does not know, and holds its certificate to be good."""

    def __init__(self, port, secure=True):
        self.port, self.secure = port, secure
        self.trust = ssl.create_default_context(cafile=f"{WORK}/shop.pem") if secure else None
        self.origin = f"https://{NAME}:{port}"

    def connection(self):
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=20)
        connection.connect()
        if self.secure:
            connection.sock = self.trust.wrap_socket(connection.sock, server_hostname=NAME)
        return connection

    def ask(self, method, path, body=None, **fields):
        connection = self.connection()
        connection.request(method, path, body, {"Host": f"{NAME}:{self.port}", **{name.replace("_", "-"): value for name, value in fields.items()}})
        answer = connection.getresponse()
        content = answer.read()
        connection.close()
        return answer.status, dict(answer.getheaders()), content


def records(count):
    return "".join(f'<Product buyfrompartnumber="N-{number}"><PARTNUMBER>P-{number}</PARTNUMBER><UNITCODE>PC</UNITCODE>'
                   f"<PRODUCTDESCRIPTION>{'Paper ' * 40}</PRODUCTDESCRIPTION></Product>" for number in range(count))


def trial():
    run("openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", f"/CN={NAME}",
        "-addext", f"subjectAltName=DNS:{NAME}", "-keyout", "shop.key", "-out", "shop.pem")
    run(TOOL, "init")
    token = "Bearer " + run(TOOL, "token", "new", "ann", "--role", "keeper", "--tokens", "tokens.json").strip()
    host = start(TOOL, "serve", "--listen", "127.0.0.1:0", "--tokens", "tokens.json", "--trusted-proxy", "127.0.0.1",
                 stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    host_port = int(host.stdout.readline().rsplit(":", 1)[1])
    port = free_port()
    with open(f"{WORK}/nginx.conf", "w", encoding="utf-8") as file:
        file.write(configuration(port, host_port))
    nginx = start("nginx", "-c", f"{WORK}/nginx.conf", "-e", f"{WORK}/log")
    for _ in range(200):
        with socket.socket() as trial_of_port:
            if trial_of_port.connect_ex(("127.0.0.1", port)) == 0:
                break
        if nginx.poll() is not None:
            raise AssertionError(open(f"{WORK}/log", encoding="utf-8").read())
        time.sleep(0.05)
    browser, direct = Browser(port), Browser(host_port, secure=False)

    # The console, or what stands for it, and the description are the host's own, to the byte.
    for path in ("/", "/api/v1/openapi.json", "/nosuch"):
        (status, head, content), (own_status, own_head, own_content) = (each.ask("GET", path) for each in (browser, direct))
        equal((own_status, own_head.get("Content-Security-Policy"), own_content), (status, head.get("Content-Security-Policy"), content))
    equal(200, browser.ask("GET", "/readyz")[0])

    # A session: the cookie is for TLS only, and what changes something has to come from the page's own origin.
    status, head, _ = browser.ask("POST", "/api/v1/session", Authorization=token)
    equal(200, status)
    cookie = head["Set-Cookie"]
    if "; Secure" not in cookie:
        raise AssertionError(f"the cookie may go without TLS: {cookie.split(';', 1)[1]}")
    cookie = cookie.split(";")[0]
    equal(200, browser.ask("GET", "/api/v1/session", Cookie=cookie)[0])
    equal(403, browser.ask("DELETE", "/api/v1/session", Cookie=cookie, Origin="https://elsewhere.example.com")[0])

    # A document beyond what nginx takes of itself, and its events, which come while the upload waits for a writer.
    document = f"<Products>{records(4000)}</Products>"
    if len(document) <= 1 << 20:
        raise AssertionError("the document is too small")
    status, head, content = browser.ask("POST", "/api/v1/uploads?kind=products&mode=upload&onErrors=skip", document, Cookie=cookie, Origin=browser.origin)
    equal((202, ""), (status, "" if status == 202 else content))
    writer = sqlite3.connect(f"{WORK}/mercato.db", isolation_level=None)
    writer.execute("BEGIN IMMEDIATE")
    listening = browser.connection()
    listening.request("GET", head["Location"] + "/events", headers={"Host": f"{NAME}:{port}", "Cookie": cookie})
    events = listening.getresponse()
    equal("text/event-stream", events.getheader("Content-Type"))
    equal(["id", "event: progress"], [events.readline().decode().split(":")[0], events.readline().decode().strip()])
    writer.execute("ROLLBACK")
    writer.close()
    equal(204, browser.ask("DELETE", head["Location"], Cookie=cookie, Origin=browser.origin)[0])
    last = events.read().decode().rstrip("\n").split("\n")
    equal(("event: end", "cancelled"), (last[-2], json.loads(last[-1].removeprefix("data: "))["state"]))

    # Wrong tokens are counted by the address of the client that nginx sees, whatever he says of himself.
    statuses = [browser.ask("GET", "/api/v1/units", Authorization="Bearer wrong", X_Forwarded_For=f"10.0.0.{number}")[0] for number in range(11)]
    equal([401] * 10 + [429], statuses)
    equal(204, browser.ask("DELETE", "/api/v1/session", Cookie=cookie, Origin=browser.origin)[0])


os.environ["PATH"] += ":/usr/sbin"
for program in ("nginx", "openssl"):
    if not shutil.which(program):
        print(f"{program} is not installed: the proxy of docs/serve.md is not tested")
        sys.exit(77)
signal.alarm(120)
try:
    trial()
finally:
    for process in reversed(started):
        process.terminate()
        process.wait()
    shutil.rmtree(WORK)
