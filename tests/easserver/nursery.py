# SPDX-License-Identifier: LGPL-2.1-or-later
"""Has servers without a new Python for each: what costs a start most, all that is imported, is done once.

Who connects to the nursery's socket writes the arguments of a server as a line of JSON, and gets a process of its
own, whose standard input and output are the connection. The first line from there is its number. The connection
closes when that process has ended, and not before. The nursery ends when its own input closes; its servers do not."""

import json
import os
import selectors
import signal
import socket
import sys
import traceback


class Nursery:
    def __init__(self, path, serve):
        """`serve` takes the arguments of a server and returns its exit status."""
        self.serve = serve
        self.connections = {}  # by the process that has it
        self.goes_on = True
        self.listener = socket.socket(socket.AF_UNIX)
        self.listener.bind(path)
        self.listener.listen()
        self.ended, wakeup = socket.socketpair()
        wakeup.setblocking(False)
        signal.set_wakeup_fd(wakeup.fileno())
        signal.signal(signal.SIGCHLD, lambda *_: None)
        self.wakeup = wakeup

    def run(self):
        selector = selectors.DefaultSelector()
        selector.register(0, selectors.EVENT_READ, self.on_input)
        selector.register(self.listener, selectors.EVENT_READ, self.on_connection)
        selector.register(self.ended, selectors.EVENT_READ, self.on_end_of_a_server)
        print("ready", flush=True)
        while self.goes_on:
            for key, _ in selector.select():
                key.data()

    def on_input(self):
        self.goes_on = bool(os.read(0, 4096))

    def on_connection(self):
        connection, _ = self.listener.accept()
        with connection.makefile("rb") as request:
            line = request.readline()
        if not line:
            connection.close()
            return
        process = os.fork()
        if process == 0:
            self.be_a_server(connection, json.loads(line))
        self.connections[process] = connection

    def on_end_of_a_server(self):
        self.ended.recv(4096)
        # One signal may stand for several of them.
        while self.connections:
            process, _ = os.waitpid(-1, os.WNOHANG)
            if process == 0:
                break
            self.connections.pop(process).close()

    def be_a_server(self, connection, arguments):
        """Does not return. Others' connections must not stay open here."""
        status = 1
        try:
            signal.set_wakeup_fd(-1)
            signal.signal(signal.SIGCHLD, signal.SIG_DFL)
            for stream in (0, 1):
                os.dup2(connection.fileno(), stream)
            for one in (connection, self.listener, self.ended, self.wakeup, *self.connections.values()):
                one.close()
            print(os.getpid(), flush=True)
            status = self.serve(arguments)
        except SystemExit as end:
            status = end.code
        except BaseException:
            traceback.print_exc()
        finally:
            sys.stderr.flush()
            os._exit(status if isinstance(status, int) else 1)
