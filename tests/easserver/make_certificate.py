# SPDX-License-Identifier: LGPL-2.1-or-later
"""usage: make_certificate.py CERT KEY NAMES DAYS

Writes a self-signed certificate for NAMES ("DNS:localhost,IP:127.0.0.1") that holds for DAYS from now,
or, with negative DAYS, ended so many days ago. Needs openssl."""

import subprocess
import sys
from datetime import datetime, timedelta, timezone


def make(certificate, key, names, days):
    now = datetime.now(timezone.utc)
    start = now - timedelta(days=1) if days > 0 else now + timedelta(days=days - 30)

    def when(moment):
        return moment.strftime("%Y%m%d%H%M%SZ")
    subprocess.run(
        ["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
         "-nodes", "-subj", "/CN=easserver", "-addext", f"subjectAltName={names}",
         "-not_before", when(start), "-not_after", when(now + timedelta(days=days)),
         "-keyout", key, "-out", certificate], check=True, capture_output=True)


if __name__ == "__main__":
    if len(sys.argv) != 5:
        sys.exit(__doc__)
    make(*sys.argv[1:4], int(sys.argv[4]))
