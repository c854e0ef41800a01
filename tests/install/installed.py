#!/usr/bin/python3
"""What `cmake --install` puts in place works there: the command, its manual pages, and completion, typed
into the shells themselves. installed.py BUILD_FOLDER"""
import glob, os, pty, re, select, shutil, subprocess, sys, tempfile

build = os.path.abspath(sys.argv[1])
folder = tempfile.mkdtemp()
os.chdir(folder)
usr = folder + "/root/usr"
os.environ.update(PATH=f"{usr}/bin:{os.environ['PATH']}", LC_ALL="C.UTF-8", TERM="dumb", HOME=folder,
                  DESTDIR=folder + "/root")
completion = {"bash": usr + "/share/bash-completion/completions/ledgerwick",
              "zsh": usr + "/share/zsh/vendor-completions/_ledgerwick",
              "fish": usr + "/share/fish/vendor_completions.d/ledgerwick.fish"}


def run(*args):
    ended = subprocess.run(args, capture_output=True, text=True)
    assert ended.returncode == 0, (args, ended.stdout, ended.stderr)
    return ended.stdout


def check_command():
    doc = usr + "/share/doc/ledgerwick"
    released = re.match(r"ledgerwick \((.*)\)", run("zcat", doc + "/changelog.gz")).group(1)
    assert run("ledgerwick", "--version") == f"ledgerwick {released}\n"
    run("ledgerwick", "sample", "create", "s.db", "--lines", "200")
    rows = run("ledgerwick", "run", "clsRepAQKCYJ", "--connection", "embedded:s.db", "--format", "csv")
    assert rows.startswith("cWhName,") and rows.count("\n") > 10
    for link in re.findall(r"\]\(((?:docs/|packaging/)[^)#]*)", open(doc + "/README.md").read()):
        assert os.path.exists(f"{doc}/{link}"), link


def check_manual():
    commands = [line.split("\t")[0] for line in run("ledgerwick", "__complete", "").split("\n")[1:-1]]
    for page in ["ledgerwick", "ledgerwick-sample-create"] + ["ledgerwick-" + c for c in commands]:
        path = f"{usr}/share/man/man1/{page}.1.gz"
        assert run("mandoc", "-Tlint", path) == "", page
        shown = re.sub(".\b", "", run("mandoc", "-Tutf8", "-Owidth=200", path))
        told = run("ledgerwick", *page.split("-")[1:], "--help")
        for option in re.findall(r"^ +(?:-\w,)?(--[a-z-]+)", told, re.M):
            assert option in shown, (page, option)


def type_into(shell, *pieces):
    """Types the pieces, each when the shell has nothing more to say, and leaves the shell."""
    child, side = pty.fork()
    if child == 0:
        os.execvp(shell[0], shell)
    for piece in (*pieces, "exit\r", None):
        while select.select([side], [], [], 0.7)[0]:
            try:
                os.read(side, 65536)
            except OSError:
                break
        if piece:
            os.write(side, piece.encode())
    os.waitpid(child, 0)
    os.close(side)


def check_completion():
    for shell, path in completion.items():
        run(shell, "-n", path)
    wanted = run("ledgerwick", "trace", "clsRepAQKCYJ", "--filter", "查询类型=高于安全库存量存货",
                 "--format=sql")
    start = {"bash": (["bash", "--norc", "-i"], f". {completion['bash']}\r"),
             "zsh": (["zsh", "-f", "-i"], f"fpath=({os.path.dirname(completion['zsh'])} $fpath);"
                     " autoload -U compinit; compinit -u -D\r")}
    for shell, (command, setting) in start.items():
        type_into(command, setting, "ledgerwick tra\t", "clsRepAQ\t", "--filt\t", "查\t", "高\t",
                  "--format=s\t", f"> {shell}.sql\r")
        assert open(shell + ".sql").read() == wanted, shell
    for typed, offered in [("tra", "trace"), ("run clsRepAQ", "clsRepAQKCYJ"), ("run s.d", "s.db"),
                           ("trace clsRepAQKCYJ --filter 查", "查询类型="),
                           ("trace clsRepAQKCYJ --filter 查询类型=高", "查询类型=高于安全库存量存货"),
                           ("list --color=n", "--color=never"), ("query --output=s.d", "--output=s.db"),
                           ("query --connection embedded:s.d", "embedded:s.db")]:
        words = run("fish", "-c", f"source {completion['fish']}; complete -C 'ledgerwick {typed}'")
        assert offered in [line.split("\t")[0] for line in words.split("\n")], (typed, words)


try:
    run("cmake", "--install", build, "--prefix", "/usr")
    assert sorted(glob.glob(usr + "/*")) == [usr + "/bin", usr + "/share"]
    check_command()
    check_manual()
    check_completion()
finally:
    os.chdir("/")
    shutil.rmtree(folder)
