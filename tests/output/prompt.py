#!/usr/bin/python3
"""The prompt of `query` on a terminal of its own.

prompt.py LEDGERWICK: makes a sample company of its own and fails with the first difference.
"""
import os, pty, re, select, shutil, signal, subprocess, sys, tempfile, time

program = os.path.abspath(sys.argv[1])
folder = tempfile.mkdtemp()
os.chdir(folder)
os.environ.update(NO_COLOR="1", LC_ALL="C.UTF-8", TERM="dumb", PAGER="", XDG_STATE_HOME=folder + "/state")
os.environ.pop("LEDGERWICK_CONNECTION", None)
LONG = "SELECT COUNT(*) FROM Inventory a, Inventory b, Inventory c, Inventory d, Inventory e"


class Prompt:
    def __init__(self, *args):
        self.child, self.side = pty.fork()
        if self.child == 0:
            os.execv(program, [program, "query", *args])
        self.shown, self.seen = "", 0

    def read(self, wait):
        if select.select([self.side], [], [], wait)[0]:
            try:
                piece = os.read(self.side, 65536)
            except OSError:
                piece = b""
            self.shown += piece.decode(errors="replace").replace("\r", "")
            return bool(piece)
        return True

    def wait_for(self, pattern):
        """Reads on until the pattern appears behind what was met last; returns what came before."""
        end = time.monotonic() + 30
        while not (met := re.search(pattern, self.shown[self.seen:])):
            assert time.monotonic() < end, f"no {pattern!r} in {self.shown[self.seen:]!r}"
            assert self.read(0.1), f"ended before {pattern!r}: {self.shown!r}"
        before = self.shown[self.seen:self.seen + met.end()]
        self.seen += met.end()
        return before

    def type(self, keys, pattern):
        os.write(self.side, keys.encode())
        return self.wait_for(pattern)

    def end(self, keys):
        os.write(self.side, keys.encode())
        while self.read(30):
            pass
        return os.waitstatus_to_exitcode(os.waitpid(self.child, 0)[1])


def has(text, *parts):
    for part in parts:
        assert part in text, f"{part!r} is not in {text!r}"


def check_session(*connection):
    p = Prompt(*connection)
    p.wait_for("s> ")
    # Several lines until GO, one line with a semicolon, so often as GO says.
    p.type("SELECT 1 AS one,\n", "\n2> ")
    has(p.type("'中' AS two\nGO\n", "row.*\ns> "), "one  two", "中")
    has(p.type("SELECT 'a;b' AS x;\n", "row.*\ns> "), "a;b")
    p.type("DECLARE @n int SET @n = 41;\n", "\n2> ")
    has(p.type("SELECT @n + 1 AS n\ngo 2\n", "(?s)row.*row.*\ns> "), "42")
    # An error ends nothing.
    has(p.type("SELECT nothing;\n", "\ns> "), "Msg 207", "Invalid column name 'nothing'")
    # Ctrl-C forgets what is typed, and cancels what runs.
    p.type("SELECT half\n", "\n2> ")
    p.type("of it\x03", "\ns> ")
    os.write(p.side, (LONG + ";\n").encode())
    time.sleep(1.5)
    has(p.type("\x03", "\ns> "), "cancelled")
    has(p.type("SELECT 'on' AS goes;\n", "row.*\ns> "), "goes")
    # TAB completes a table, its columns by an alias, and shows what there is to choose from.
    has(p.type("SELECT x.cInvC FROM Invent\t", "Inventory"))
    has(p.type("\t", r"InventoryClass\s+s> SELECT x.cInvC FROM Inventory"))
    p.type("\x03", "\ns> ")
    p.type("SELECT w.cWhN\t", "cWhN")
    p.type("\x03", "\ns> ")
    p.type("SELECT COUNT(*) AS n FROM Warehouse AS w WHERE\n", "\n2> ")
    p.type("w.cwhc\t", "w.cWhCode")
    has(p.type(" > '' and\n", "\n3> "))
    p.type("w.cWhN\t = ''\nGO\n", "row.*\ns> ")
    has(p.type("\\run clsRepAQ\t --limit 1 --format csv --filter 存货编\t0\n", "\ns> "), "clsRepAQKCYJ", "存货编码=0")
    has(p.type("\\schema Warehous\n", "\ns> "), "did you mean 'Warehouse'?")
    has(p.type("\\list   --format  csv\n", "\ns> "), "Ledgerwick.clsRepAQKCYJ,")
    has(p.type("\\nonsense\n", "\ns> "), "unknown command")
    has(p.type("\\?\n", "\ns> "), "Ctrl-R")
    # The prompt shows the database.
    p.type("USE tempdb;\n", "\ntempdb> ")
    p.type("BEGIN TRAN\nGO\n", "\ntempdb> ")
    assert p.end("exit\n") == 0
    has(p.shown, "transaction is rolled back")


def check_history():
    p = Prompt("--connection", "embedded:s.db")
    p.wait_for("s> ")
    p.type("SELECT 'password' AS no;\n", "row.*\ns> ")
    assert p.type("\x10\x10", "exit|BEGIN") and p.end("\x03\x04") == 0
    with open("state/ledgerwick/history") as file:
        lines = file.read().split("\n")
    assert "'中' AS two" in lines and not [line for line in lines if "password" in line], lines
    assert os.stat("state/ledgerwick/history").st_mode & 0o777 == 0o600


def check_ending():
    """A statement that is cancelled by SIGTERM is the last one."""
    p = Prompt("--connection", "embedded:s.db")
    p.wait_for("s> ")
    os.write(p.side, (LONG + ";\n").encode())
    time.sleep(1)
    os.kill(p.child, signal.SIGTERM)
    assert p.end("") == 1 and "cancelled" in p.shown


def check_refusals():
    p = Prompt("--connection", "embedded:missing.db")
    assert p.end("") == 1 and "missing.db" in p.shown
    p = Prompt("--connection", "embedded:s.db", "--output", "x.csv")
    assert p.end("") == 2 and "--output" in p.shown


try:
    subprocess.run([program, "sample", "create", "s.db", "--lines", "500"], check=True, stderr=subprocess.PIPE)
    check_session("--connection", "embedded:s.db")
    check_history()
    check_ending()
    check_refusals()
    with open("password", "w") as file:
        file.write("geheim")
    service = subprocess.Popen([program, "serve", "s.db", "--listen", "127.0.0.1:0", "--password-file", "password"],
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    try:
        port = re.search(r":(\d+);", service.stdout.readline())[1]
        check_session("-S", "127.0.0.1," + port, "-U", "sa", "--password-file", "password")
    finally:
        service.send_signal(signal.SIGTERM)
        service.wait()
finally:
    os.chdir("/")
    shutil.rmtree(folder)
