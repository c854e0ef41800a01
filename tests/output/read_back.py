#!/usr/bin/python3
"""Every format of results, read back by programs that others wrote, and what a terminal shows.

read_back.py LEDGERWICK: makes a sample company of its own and fails with the first difference.
"""
import csv, datetime, fcntl, html.parser, json, os, pty, shutil, struct, subprocess, sys, tempfile
import termios, unicodedata

import html5lib
import markdown
import openpyxl

program = os.path.abspath(sys.argv[1])
folder = tempfile.mkdtemp()
os.chdir(folder)
os.environ.update(LEDGERWICK_CONNECTION="embedded:s.db", NO_COLOR="1", LC_ALL="C.UTF-8")

SQL = """SELECT '0101' AS code, N'铁钉 "A", 大' AS 名称, '=1+1' AS formula, '' AS blank, NULL AS nothing,
  'a|b*_<c>&`~' + CHAR(10) + CHAR(9) + '\\x[1]' AS marks, 'e' + CHAR(27) + 'f' AS control,
  CAST(-1.50 AS decimal(10,2)) AS price, CAST('12345678901234567890.123' AS decimal(38,3)) AS big,
  7 AS n, CAST(1234567890123456789 AS bigint) AS n, CAST(1 AS bit) AS yes, CAST(0.1 AS float) AS f,
  CAST('2002-03-01' AS datetime) AS d, CAST('2002-03-01 09:05:00' AS datetime) AS t,
  CAST('1899-12-31' AS datetime) AS early
UNION ALL SELECT '0102', N'=x', '-', 'b', NULL, '', ' ', 0, 1, 2, 3, 0, 1e5, NULL, NULL, NULL"""
NAMES = ["code", "名称", "formula", "blank", "nothing", "marks", "control", "price", "big", "n", "n",
         "yes", "f", "d", "t", "early"]
MARKS, CONTROL = "a|b*_<c>&`~\n\t\\x[1]", "e\x1bf"
FIRST = ["0101", '铁钉 "A", 大', "=1+1", "", None, MARKS, CONTROL, "-1.50",
         "12345678901234567890.123", "7", "1234567890123456789", "1", "0.1", "2002-03-01",
         "2002-03-01 09:05:00", "1899-12-31"]
AS_TEXT = ["" if value is None else value for value in FIRST]
VISIBLE = [value.replace(CONTROL, r"e\x1Bf") for value in AS_TEXT]


def call(*args, code=0):
    ended = subprocess.run([program, *args], capture_output=True)
    assert ended.returncode == code, (args, ended.returncode, ended.stderr.decode())
    return ended.stdout.decode()


def other(*args):
    """What a program that others wrote says."""
    return subprocess.run(args, check=True, capture_output=True, text=True).stdout


def same(got, wanted, what):
    assert got == wanted, f"{what}:\n got    {got!r}\n wanted {wanted!r}"


def query(name, *options, sql=SQL):
    call("query", sql, "--output", name, *options)
    with open(name, encoding="utf-8", errors="replace", newline="") as file:
        return file.read()


class Tables(html.parser.HTMLParser):
    """The rows of a page, and its title."""

    def __init__(self, text):
        super().__init__()
        self.rows, self.heading, self.cell = [], "", None
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        if tag == "tr":
            self.rows.append([])
        if tag in ("td", "th", "h1", "h2"):
            self.cell = ""
        if tag == "br":
            self.cell += "\n"

    def handle_data(self, data):
        if self.cell is not None:
            self.cell += data

    def handle_endtag(self, tag):
        if tag in ("td", "th"):
            self.rows[-1].append(self.cell)
        if tag in ("h1", "h2"):
            self.heading = self.cell
        if tag in ("td", "th", "h1", "h2"):
            self.cell = None


def check_csv():
    for name, options, separator in [("a.csv", [], ","), ("b.csv", ["--separator", ";"], ";")]:
        rows = list(csv.reader(query(name, *options).splitlines(True), delimiter=separator))
        same(rows[:2], [NAMES, AS_TEXT], name)
    rows = json.loads(other("sqlite3", "-json", "-cmd", ".import --csv a.csv t", ":memory:",
                            "SELECT * FROM t"))
    same([len(rows), list(rows[0].values())], [2, AS_TEXT], "csv, by sqlite3")
    guarded = query("c.csv", "--bom", "--guard-formulas")
    assert guarded.startswith("\ufeffcode,")
    rows = list(csv.reader(guarded[1:].splitlines(True)))
    same(rows[1][2], "'=1+1", "a formula")
    same([rows[2][1], rows[2][2], rows[1][7]], ["'=x", "'-", "-1.50"], "what reads as a formula")
    lines = query("d.tsv").split("\n")
    cells = [None if cell == r"\N" else
             cell.replace(r"\\", "\0").replace(r"\t", "\t").replace(r"\n", "\n").replace("\0", "\\")
             for cell in lines[1].split("\t")]
    same([lines[0].split("\t"), cells], [NAMES, FIRST], "tsv")


def check_json():
    keys = [name if i != 10 else "n_2" for i, name in enumerate(NAMES)]
    values = FIRST[:7] + [-1.5, "big", 7, 1234567890123456789, True, 0.1] + FIRST[13:]
    whole = query("a.json")
    assert '"big": 12345678901234567890.123,' in whole
    lines = query("a.jsonl").splitlines()
    for rows, what in [(json.loads(whole), "json"), ([json.loads(line) for line in lines], "jsonl")]:
        rows[0]["big"] = "big"
        same(rows[0], dict(zip(keys, values)), what)
        same((list(rows[0]), len(rows)), (keys, 2), what)
    # Its numbers are binary, which "big" and "n_2" are too long for.
    values = dict(zip(keys, values), big=12345678901234567000, n_2=1234567890123456800)
    for name, each in [("a.json", ".[]"), ("a.jsonl", ".")]:
        rows = [json.loads(row) for row in other("jq", "-c", each, name).splitlines()]
        same((rows[0], len(rows)), (values, 2), name + ", by jq")
    several = query("b.json", sql="SELECT 1 AS a SELECT 2 AS b WHERE 1 = 0 SELECT 3 AS c")
    same(json.loads(several), [[{"a": 1}], [], [{"c": 3}]], "several results")
    same(json.loads(query("c.json", sql="SELECT 1 AS a")), [{"a": 1}], "one result")
    # More than is kept in memory of the first result before the second is there.
    long = json.loads(query("d.json", sql="SELECT TOP 9000 REPLICATE('x', 200) AS x FROM Inventory a,"
                            " Inventory b, Inventory c SELECT 1 AS y"))
    same([len(long[0]), long[1]], [9000, [{"y": 1}]], "long results")
    # What came before an error is not lost.
    same(json.loads(call("query", "SELECT 1 AS a SELECT 1/0 AS b", "--format", "json", code=1)
                    .replace("\n,\n[\n", "")), [{"a": 1}], "before an error")


def check_documents():
    page = query("a.html")
    same(Tables(page).rows[:2], [NAMES, VISIBLE], "html")
    html5lib.HTMLParser(strict=True).parse(page)  # takes no error
    if shutil.which("chromium"):
        shown = other("chromium", "--headless", "--no-sandbox", "--disable-gpu", "--user-data-dir=browser",
                      "--dump-dom", "file://" + os.path.abspath("a.html"))
        same(Tables(shown).rows[:2], [NAMES, VISIBLE], "html, by a browser")
    text = markdown.markdown(query("a.md"), extensions=["tables"])
    same([Tables(text).rows[0], [c.replace("\n", "\n") for c in Tables(text).rows[1]]],
         [NAMES, [value.replace("\n\t", "\n\\t") for value in VISIBLE]], "markdown")
    for name in ["t.html", "t.md"]:
        call("run", "newclsReportDaoOut", "--filter", "日期=2002-03-01..2002-03-31", "--title",
             "发货 <表>", "--output", name)
        with open(name, encoding="utf-8") as file:
            text = file.read()
        page = Tables(markdown.markdown(text) if name == "t.md" else text)
        same(page.heading, "发货 <表>", name)
        assert "开始日期：2002-03-01" in text
        assert "http" not in text and "src=" not in text


def check_workbook():
    query("a.xlsx", sql=SQL + " SELECT 1 AS second")
    book = openpyxl.load_workbook("a.xlsx")
    same(book.sheetnames, ["Result", "Result (2)"], "sheets")
    sheet = book.worksheets[0]
    header, first = list(sheet.values)[:2]
    same(list(header), NAMES, "header")
    values = [FIRST[i] or None for i in range(7)] + \
        [-1.5, "12345678901234567890.123", 7, "1234567890123456789", True, 0.1,
         datetime.datetime(2002, 3, 1), datetime.datetime(2002, 3, 1, 9, 5), "1899-12-31"]
    values[6] = first[6]  # this reader leaves escapes of control characters as they are
    same(list(first), values, "cells")
    assert first[6].replace("_x001B_", "\x1b") == CONTROL
    formats = [cell.number_format for cell in sheet[2]]
    same([formats[0], formats[7], formats[13], formats[14]],
         ["@", "0.00", "yyyy-mm-dd", "yyyy-mm-dd hh:mm:ss"], "formats")
    same([sheet.freeze_panes, sheet.auto_filter.ref], ["A2", "A1:P3"], "header in sight and filter")
    call("run", "newclsReportDaoOut", "--filter", "日期=2002-03-01..2002-03-31", "--title",
         "发货/表", "--output", "b.xlsx")
    sheet = openpyxl.load_workbook("b.xlsx").worksheets[0]
    same([sheet.title, sheet["A1"].value, sheet["A2"].value[:4], sheet["A3"].value, sheet.freeze_panes],
         ["发货 表", "发货/表", "开始日期", "日期", "A4"], "title and subtitle")
    call("query", "SELECT REPLICATE('x', 8000) + REPLICATE('x', 8000) AS a SELECT 1 AS b",
         "--output", "c.xlsx")


def check_next_sheet():
    rows = 1_048_576 + 10
    query("many.xlsx", sql=f"SELECT TOP {rows} 1 AS a FROM Inventory a, Inventory b, Inventory c,"
          " Inventory d")
    book = openpyxl.load_workbook("many.xlsx", read_only=True)
    same(list(book.worksheets[1].values), [("a",)] + [(1,)] * 11, "the next sheet")


def terminal(*args, width=80, height=24, pager="cat > paged"):
    """What the program shows on a terminal, and its exit code."""
    if os.path.exists("paged"):
        os.remove("paged")
    child, side = pty.fork()
    if child == 0:
        fcntl.ioctl(1, termios.TIOCSWINSZ, struct.pack("HHHH", height, width, 0, 0))
        os.environ["PAGER"] = pager
        os.execv(program, [program, *args])
    shown = b""
    while True:
        try:
            piece = os.read(side, 65536)
        except OSError:
            break
        if not piece:
            break
        shown += piece
    code = os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])
    return shown.decode().replace("\r\n", "\n"), code


def display_width(line):
    return sum(2 if unicodedata.east_asian_width(c) in "WF" else 1 for c in line)


def check_terminal():
    shown, code = terminal("run", "clsRepLsz", "--limit", "3", height=1000)
    same(code, 0, "exit code")
    assert max(display_width(line) for line in shown.split("\n")) <= 80
    parts = shown.split("\n\n")
    assert len(parts) > 3 and "columns without any value left out)" in parts[-1]
    # Every part tells its rows apart by the same columns.
    keys = {part.split("\n")[1 if i == 0 else 0].split()[0] for i, part in enumerate(parts)}
    same(len(keys), 1, "key columns")
    same(len({line.split()[0] for line in parts[1].split("\n")[2:5]}), 3, "rows told apart")
    whole, _ = terminal("run", "clsRepLsz", "--limit", "3", "--format", "line", height=1000)
    assert "\ncFree1" in whole.replace("cFree10", "")
    shown, _ = terminal("query", "SELECT 1 AS a, NULL AS b", height=5)
    same(shown, "a     b\n-  ----\n1  NULL\n(1 row)\n", "a table that fits")
    # A column that has something later on comes back with a header of its own.
    late = "SELECT TOP 350 REPLICATE('x', 75) AS x, NULL AS y, NULL AS z FROM Inventory a," \
        " Inventory b UNION ALL SELECT TOP 50 REPLICATE('x', 75), 'late', NULL FROM Inventory"
    shown, _ = terminal("query", late, height=10000)
    assert shown.count("late") == 50 and "(1 column without" in shown
    assert not os.path.exists("paged")
    shown, code = terminal("query", "SELECT cInvCode, CHAR(27) + '[31m' AS x FROM Inventory")
    with open("paged") as file:
        paged = file.read()
    assert paged.startswith("cInvCode") and r"\x1B[31m" in paged and "\x1b" not in paged
    same([shown[-6:], code], [" rows)\n"[-6:], 0], "after the pager")
    for rows in ["Inventory a", "Inventory a, Inventory b"]:  # the pipe takes all, or breaks
        shown, code = terminal("query", "SELECT a.cInvCode FROM " + rows, pager="no-such-pager")
        assert code == 1 and "no-such-pager' cannot be run" in shown
    shown, code = terminal("query", "SELECT 1 AS a", "--format", "xlsx")
    assert code == 2 and "--output FILE.xlsx" in shown
    shown, _ = terminal("list")
    assert max(display_width(line) for line in shown.split("\n")) <= 80
    # What check finds is wrapped, in whole sentences.
    for options in [["clsRepHwhz", "--filter", "日期=2002-03-01..2002-03-31"], ["--codes"]]:
        shown, _ = terminal("check", *options, height=10000)
        assert max(display_width(line) for line in shown.split("\n")) <= 80
        told = json.loads(call("check", *options, "--format", "json"))
        for finding in told:
            for key in {"finding", "remedy", "what happens"} & set(finding):
                assert "".join(finding[key].split()) in "".join(shown.split()), finding[key]
    for name in ["markdown", "html", "tsv", "jsonl", "line"]:
        shown, _ = terminal("query", "SELECT CHAR(27) + NCHAR(8238) + NCHAR(155) AS x", "--format",
                            name, height=1000)
        assert not {"\x1b", "\u202e", "\x9b"} & set(shown), name


def check_reader_who_has_enough():
    ended = subprocess.run(
        ["bash", "-c", f"{program} query 'SELECT a.cInvCode FROM Inventory a, Inventory b'"
         " --format csv | head -1; exit ${PIPESTATUS[0]}"], capture_output=True)
    same([ended.stdout, ended.stderr, ended.returncode], [b"cInvCode\r\n", b"", 141], "head")


def check_script():
    """The script of a trace fills the table as the report does, whatever stands in a filter."""
    report = ["newclsReportDaoOut", "--filter", "日期=2002-03-01..2002-03-31", "--filter",
              "客户编码=C0003..C0007"]
    wanted = call("run", *report, "--format", "csv")
    with open("s.sql", "w") as file:
        file.write(call("trace", *report, "--format", "sql"))
    same(call("query", "--file", "s.sql", "--format", "csv"), wanted, "sql of a sales report")
    for value in ["0101", "a'b", "a\nGO\nb", "$(x)\r\n go 3 "]:
        report = ["clsRepAQKCYJ", "--filter", "存货编码=" + value]
        with open("s.sql", "w", newline="") as file:
            file.write(call("trace", *report, "--format", "sql"))
        same(call("query", "--file", "s.sql", "--format", "csv"),
             call("run", *report, "--format", "csv"), "sql of " + repr(value))


try:
    call("sample", "create", "s.db", "--lines", "2000")
    for check in [check_csv, check_json, check_documents, check_workbook, check_next_sheet,
                  check_terminal, check_reader_who_has_enough, check_script]:
        check()
finally:
    os.chdir("/")
    shutil.rmtree(folder)
