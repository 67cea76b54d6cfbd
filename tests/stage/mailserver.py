# SPDX-License-Identifier: LGPL-2.1-or-later
"""The test ActiveSync server (tests/easserver) in a process of its own."""

import http.client
import json
import subprocess
import sys
import urllib.parse
from pathlib import Path

from waiting import Failure

EASSERVER = Path(__file__).resolve().parent.parent / "easserver"


class MailServer:
    """Runs from the beginning, until its input ends at the latest."""

    def __init__(self, maildir, *arguments, start=subprocess.Popen, patience=30):
        """`start` makes the process; the server answers within `patience` seconds what it is told or asked."""
        self.patience = patience
        self.process = start([sys.executable, "-B", str(EASSERVER), str(maildir), *map(str, arguments)],
                             stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        line = self.process.stdout.readline().decode().split()
        if len(line) != 2:
            raise Failure("the test server did not start")
        self.url, self.control_url = line

    def ports(self):
        """The one for clients, and that of control()."""
        return [urllib.parse.urlsplit(url).port for url in (self.url, self.control_url)]

    def control(self, name, **request):
        """What it is told or asked; see tests/easserver/control.py."""
        url = urllib.parse.urlsplit(self.control_url)
        connection = http.client.HTTPConnection(url.netloc, timeout=self.patience)
        try:
            connection.request("POST", f"{url.path}/{name}", json.dumps(request))
            answer = connection.getresponse()
            body = json.loads(answer.read())
        finally:
            connection.close()
        if answer.status != 200:
            raise Failure(f"{name}: {body}")
        return body
