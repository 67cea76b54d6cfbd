# SPDX-License-Identifier: LGPL-2.1-or-later
"""Another Debian system in a folder, which its owner administers and uses; nobody needs to be root for it."""

import subprocess
from pathlib import Path

USER = 1000
ROOM = ["--ro-bind", "/proc", "/proc", "--dev", "/dev", "--tmpfs", "/tmp", "--tmpfs", "/run", "--die-with-parent"]


def unpack(archive, root):
    """All in it then belongs to whoever unpacks it."""
    Path(root).mkdir()
    subprocess.run(["tar", "--extract", f"--file={archive}", f"--directory={root}", "--no-same-owner"], check=True)
    with open(f"{root}/etc/passwd", "a", encoding="utf-8") as users:
        users.write(f"user:x:{USER}:{USER}::/home/user:/bin/sh\n")


def administer(root, command, media):
    """Runs a command as the system's root, without a network, with the folder `media` at /media."""
    return subprocess.run(
        ["bwrap", "--unshare-user", "--uid", "0", "--gid", "0", "--cap-add", "ALL", "--unshare-net",
         "--bind", str(root), "/", *ROOM, "--ro-bind", str(media), "/media", "--clearenv",
         "--setenv", "PATH", "/usr/sbin:/usr/bin:/sbin:/bin", "--setenv", "DEBIAN_FRONTEND", "noninteractive",
         "--setenv", "LC_ALL", "C.UTF-8", "--chdir", "/", *command],
        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)


def enter(root, words, place):
    """The command by which the first program of a user's session runs there; the folder `place` is here and there."""
    return ["bwrap", "--unshare-user", "--uid", str(USER), "--gid", str(USER), "--ro-bind", str(root), "/", *ROOM,
            "--bind", str(place), str(place), "--setenv", "PATH", "/usr/bin:/bin", "--chdir", "/", *words]


def inside(session, words):
    """The command by which another runs in the session of that process."""
    return ["nsenter", f"--target={session}", "--user", "--mount", "--preserve-credentials", "--", *words]
