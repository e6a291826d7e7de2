"""Runs a command with `python3 -m http.server` serving a folder beside it.

    with_python_http_server.py COMMAND...

The command finds the folder in SELVORA_PYTHON_HTTP_DIR and the server's
address in SELVORA_PYTHON_HTTP_URL. The exit status is the command's.
"""

import os
import socket
import subprocess
import sys
import tempfile
import time


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def listening(port):
    with socket.socket() as s:
        return s.connect_ex(("127.0.0.1", port)) == 0


def main():
    command = sys.argv[1:]
    with tempfile.TemporaryDirectory(prefix="selvora-served-") as folder:
        port = free_port()
        server = subprocess.Popen(
            [sys.executable, "-m", "http.server", str(port), "--bind", "127.0.0.1",
             "--directory", folder],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        try:
            for _ in range(300):  # up to 15 s
                if listening(port) or server.poll() is not None:
                    break
                time.sleep(0.05)
            if not listening(port):
                print("with_python_http_server: the server did not start", file=sys.stderr)
                return 1
            env = dict(os.environ, SELVORA_PYTHON_HTTP_DIR=folder,
                       SELVORA_PYTHON_HTTP_URL=f"http://127.0.0.1:{port}")
            return subprocess.run(command, env=env).returncode
        finally:
            server.terminate()
            server.wait(timeout=30)


if __name__ == "__main__":
    sys.exit(main())
