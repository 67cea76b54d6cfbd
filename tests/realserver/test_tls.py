# SPDX-License-Identifier: LGPL-2.1-or-later
"""An account is found by its address alone and served over TLS, if an authority is trusted, and not if
none is."""

import sys
from base64 import b64encode

import cases
import names
from cases import equal
from mails import plain
from stage import DAEMON

WRONG_SETTINGS = 1037  # QMF's code, as mail programs see it


class World:
    def __init__(self, chain):
        self.chain, self.server = chain, chain.server
        self.web = names.WebServer(self.server.tls_port)
        for n in range(20):
            self.server.deliver("alice", plain(f"Message {n}"))
        chain.start_message_server()

    def add(self, name, *arguments):
        return self.chain.account_program("add", name, "--email", "alice@example.test", *arguments,
                                          password=self.server.passwords["alice"])

    def named(self):
        return ("--server", names.MAIL_HOST, "--port", str(self.server.tls_port))

    def over_tls(self):
        """The mail server's requests that came over TLS, as its web server has logged them."""
        lines = self.server.http_log().splitlines()
        return [line for line in lines if line.startswith("https ")]

    def trust(self):
        """Authorities are read when a program starts; the daemon is ended, and started when needed."""
        names.trust()
        self.chain.end(DAEMON)

    def is_known(self, name):
        return name in self.chain.account_program("list").stdout


def test_theSearchEndsAtACertificateThatNobodyTrusts(world):
    result = world.add("Work")
    assert result.returncode == 1, result.stdout
    assert "example.test: its certificate is not trusted" in result.stderr, result.stderr
    assert not world.is_known("Work")
    equal(world.web.seen, [])


def test_itIsRefusedWhereTheServerIsNamed(world):
    result = world.add("Named", *world.named())
    assert result.returncode == 1, result.stdout
    assert "certificate" in result.stderr, result.stderr
    assert not world.is_known("Named")
    equal(world.over_tls(), [])


def test_toTheDaemonItIsAnErrorOfTheSettings(world):
    result = world.add("Unchecked", *world.named(), "--no-check")
    equal(result.returncode, 0, result.stdout + result.stderr)
    answer = world.chain.robot("Unchecked").ask("synchronize")
    equal((answer["ok"], answer["code"]), (False, WRONG_SETTINGS), str(answer))
    equal(world.over_tls(), [])
    equal(world.chain.account_program("remove", "Unchecked", "--yes").returncode, 0)


def test_aTrustedOneIsFoundByTheAddressAlone(world):
    world.trust()
    world.before = len(world.over_tls())
    result = world.add("Work")
    equal((result.returncode, result.stderr), (0, ""))
    assert f"Found {names.MAIL_HOST}" in result.stdout, result.stdout
    login = b64encode(f"alice@example.test:{world.server.passwords['alice']}".encode()).decode()
    equal(world.web.seen, [("/autodiscover/autodiscover.xml", None),
                           ("/autodiscover/autodiscover.xml", "Basic " + login)])
    assert world.over_tls(), "the login was not tried over TLS"


def test_theFirstSynchronisationGoesOverTls(world):
    """Setting the account up has brought its mail already."""
    world.robot = world.chain.robot()
    equal({m["subject"] for m in world.robot.messages(folder="INBOX")},
          {f"Message {n}" for n in range(20)})
    sent = [line for line in world.over_tls()[world.before:] if "Cmd=Sync" in line]
    assert sent, "nothing was synchronised over TLS"


def test_noneOfItWentWithoutTls(world):
    """But for the question of the test itself whether the server is up."""
    lines = world.server.http_log().splitlines()
    equal([line for line in lines if line.startswith("http ") and "OPTIONS" not in line], [])


def test_aNameThatTheCertificateHasNotIsRefused(world):
    before = world.over_tls()
    result = world.add("Elsewhere", "--server", "localhost", "--port", str(world.server.tls_port))
    assert result.returncode == 1, result.stdout
    assert "certificate" in result.stderr, result.stderr
    equal(world.over_tls(), before)
    world.web.close()


if __name__ == "__main__":
    names.enter("Tls")
    cases.run("Tls", sys.modules[__name__], World)
