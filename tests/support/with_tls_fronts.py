"""Runs a command with selvora_tls_fronts serving beside it.

    with_tls_fronts.py FRONTS_PROGRAM COMMAND...

The command finds the servers in its environment: SELVORA_TLS_CA (the
authority's certificate, PEM) and SELVORA_TLS_PORTS ("plain=P,trusted=P,...").
The exit status is the command's.
"""

import os
import subprocess
import sys
import tempfile


def main():
    program, command = sys.argv[1], sys.argv[2:]
    with tempfile.TemporaryDirectory(prefix="selvora-tls-") as folder:
        fronts = subprocess.Popen([program, folder], stdin=subprocess.PIPE,
                                  stdout=subprocess.PIPE, text=True)
        ports = []
        for line in fronts.stdout:
            if line.strip() == "ready":
                break
            name, port = line.split()
            ports.append(f"{name}={port}")
        else:
            print("with_tls_fronts: the servers did not start", file=sys.stderr)
            return 1
        env = dict(os.environ, SELVORA_TLS_CA=os.path.join(folder, "ca.pem"),
                   SELVORA_TLS_PORTS=",".join(ports))
        try:
            return subprocess.run(command, env=env).returncode
        finally:
            fronts.stdin.close()
            fronts.wait(timeout=30)


if __name__ == "__main__":
    sys.exit(main())
