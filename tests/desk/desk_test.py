#!/usr/bin/python3
"""Conversations with the desk, as browsers and those who are none hold them.

desk_test.py LEDGERWICK: makes a sample company of its own and fails with the first difference.
"""
import base64, contextlib, decimal, http.client, json, os, re, shutil, signal, ssl, subprocess, sys
import tempfile, time, urllib.parse

import openpyxl

program = os.path.abspath(sys.argv[1])
folder = tempfile.mkdtemp()
os.chdir(folder)
os.environ.update(NO_COLOR="1", LC_ALL="C.UTF-8", TMPDIR=folder)


def call(*args, code=0):
    ended = subprocess.run([program, *args], capture_output=True)
    assert ended.returncode == code, (args, ended.returncode, ended.stderr.decode())
    return ended.stdout.decode()


def same(got, wanted, what):
    assert got == wanted, f"{what}:\n  got    {got!r}\n  wanted {wanted!r}"


class Visitor:
    """Someone with a cookie, or without one."""

    def __init__(self, link, context=None):
        url = urllib.parse.urlsplit(link)
        self.host, self.port, self.context = url.hostname, url.port, context
        self.cookie = None
        self.first = "/?" + url.query if url.query else "/"

    def ask(self, method, path, body=None, **headers):
        kind = http.client.HTTPSConnection if self.context else http.client.HTTPConnection
        more = {"context": self.context} if self.context else {}
        connection = kind(self.host, self.port, timeout=60, **more)
        sent = {"Cookie": self.cookie, "X-Ledgerwick": "1"}
        sent.update({name.replace("_", "-"): value for name, value in headers.items()})
        if isinstance(body, (dict, list)):
            body = json.dumps(body).encode()
        connection.request(method, path, body, {n: v for n, v in sent.items() if v is not None})
        reply = connection.getresponse()
        reply.data = reply.read()
        connection.close()
        return reply

    def enter(self):
        reply = self.ask("GET", self.first)
        same((reply.status, reply.headers["Location"]), (303, "/"), "the first link")
        self.cookie = reply.headers["Set-Cookie"].split(";")[0]
        for word in ("HttpOnly", "SameSite=Strict"):
            assert word in reply.headers["Set-Cookie"], reply.headers["Set-Cookie"]
        return self

    def get(self, path, method="GET", body=None, status=200):
        reply = self.ask(method, "/api/1/" + path, body)
        assert reply.status == status, (method, path, reply.status, reply.data[:500])
        return json.loads(reply.data) if reply.data else None

    def start(self, request, **more):
        return self.get("runs", "POST", {"request": request, **more}, 201)["run"]

    def wait(self, run, state="done"):
        while (status := self.get("runs/" + run))["state"] == "running":
            time.sleep(0.02)
        assert status["state"] == state, status
        return status

    def rows(self, run, **query):
        words = {name: json.dumps(value) if name == "where" else value
                 for name, value in query.items()}
        return self.get(f"runs/{run}/rows?" + urllib.parse.urlencode(words))


@contextlib.contextmanager
def desk(*args):
    process = subprocess.Popen([program, "desk", "--listen", "127.0.0.1:0", *args],
                               stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    process.stdout.readline()
    link = process.stdout.readline().decode().strip()
    assert link, process.stderr.read().decode()
    try:
        yield process, link
        process.send_signal(signal.SIGTERM)
        same(process.wait(20), 0, "the desk's end: " + process.stderr.read().decode())
    finally:
        process.kill()
        process.wait()
    same([n for n in os.listdir(folder) if n.startswith("ledgerwick-rows-")], [], "left behind")


def request(name, *filters, **more):
    items = [{"Name": f[0], "varValue": f[1], **({"varValue2": f[2]} if len(f) > 2 else {})}
             for f in filters]
    return {"class": name, "filters": items, **more}


STOCK = request("clsRepAQKCYJ", ("def_queryType", "全部"))
LOGIN = {"login": {"CurDate": "2002-03-31", "cAcc_Id": "001"}}
JOURNAL = request("clsRepLsz", ("R.dDate", "2002-01-01", "2002-12-31"))


def text_of(value):
    """A value of `run --format json` as the desk's cell."""
    return {None: None, True: "true", False: "false"}.get(value, str(value)) \
        if value is None or isinstance(value, bool) else str(value)


def equal_to_run(visitor, connection, report):
    """Every report's rows are those of `run`, in order where the report has one."""
    with open("r.json", "w") as file:
        json.dump(report, file)
    printed = json.loads(call("run", "r.json", "--format", "json", "--connection", connection),
                         parse_float=str, parse_int=str, object_pairs_hook=list)
    wanted = [[text_of(value) for _, value in row] for row in printed]
    run = visitor.start(report)
    status = visitor.wait(run)
    got = visitor.rows(run, count=2000)
    same((got["total"], status["rows"]), (len(wanted),) * 2, report["class"])
    same(sorted(map(str, got["rows"])), sorted(map(str, wanted[:2000])), report["class"])
    if wanted:
        same([c["name"] for c in status["columns"]], [n for n, _ in printed[0]], report["class"])
    return run, status, got["rows"]


def check_gate(link, visitor):
    stranger, own = Visitor(link), f"127.0.0.1:{visitor.port}"
    for who, method, path, headers, status in [
            (stranger, "GET", "/", {}, 403), (stranger, "GET", "/api/1/session", {}, 403),
            (stranger, "GET", "/page/chart.js", {}, 403), (stranger, "POST", "/api/1/runs", {}, 403),
            (stranger, "GET", "/?key=" + "0" * 32, {}, 403),
            (stranger, "GET", "/", {"Cookie": visitor.cookie[:-1] + "x"}, 403),
            (visitor, "GET", "/", {}, 200), (visitor, "GET", "/page/chart.js", {}, 200),
            (visitor, "GET", "/", {"Host": "evil.example"}, 403),
            (visitor, "GET", "/", {"Host": f"evil.example:{visitor.port}"}, 403),
            (visitor, "GET", "/", {"Host": "127.0.0.1:1"}, 403),
            (visitor, "GET", "/", {"Host": f"localhost:{visitor.port}"}, 200),
            (visitor, "GET", "/api/1/session", {"Origin": "http://evil.example"}, 403),
            (visitor, "GET", "/api/1/session", {"Origin": "null"}, 403),
            (visitor, "GET", "/api/1/session", {"Origin": "http://" + own}, 200),
            (visitor, "GET", "/api/1/session", {"Sec_Fetch_Site": "cross-site"}, 403),
            (visitor, "POST", "/api/1/check", {"X_Ledgerwick": None}, 403),
            (visitor, "DELETE", "/api/1/runs/1", {"X_Ledgerwick": "0"}, 403),
            (visitor, "GET", "/page/../http.cpp", {}, 404), (visitor, "GET", "/page/", {}, 404),
            (visitor, "GET", "/page/..%2F..%2Fetc%2Fpasswd", {}, 404),
            (visitor, "PATCH", "/api/1/runs", {}, 404), (visitor, "GET", "/api/1/", {}, 404),
            (visitor, "GET", "/api/1/runs/0123456789abcdef", {}, 404),
            (visitor, "GET", "/api/1/pick/users", {}, 404)]:
        reply = who.ask(method, path, **headers)
        same(reply.status, status, f"{method} {path} {headers}")
        assert "default-src 'none'" in reply.headers["Content-Security-Policy"], path
        same(reply.headers["X-Content-Type-Options"], "nosniff", path)
    start = time.monotonic()
    stranger.ask("GET", "/?key=wrong")
    assert time.monotonic() - start > 0.9, "a wrong key is answered at once"
    same(visitor.ask("POST", "/api/1/check", b"x" * (1 << 20 | 1)).status, 413, "a long body")


def check_refused(visitor):
    for body, status, word in [
            (b"{", 400, "JSON"), ({"class": "clsRepX"}, 400, "unknown class"),
            ({**STOCK, "connectionString": "embedded:/etc/passwd"}, 422, "connection"),
            ({**STOCK, "machine": "x] drop"}, 422, "machine"),
            (request("clsRepAQKCYJ", ("1=1; DROP TABLE Inventory --", "x")), 422, "no filter"),
            ({"class": "clsRepAQKCYJ", "filters": [
                {"Name": "I.cInvCode", "varValue": "1", "strSqlString": "1=1"}]}, 422, "strSql"),
            (request("clsRepSFC", ("iAssUnitGrade", "1 OR 1=1")), 422, "level"),
            (request("clsRepSFC", ("JCQuantity", "1 OR 1=1")), 422, "number"),
            (request("clsRepSFC", ("cRdCode", "1' OR '1'='1")), 422, "quote"),
            (request("clsRepLsz", ("R.cWhCode", "01') --")), 422, "quote"),
            (request("clsRepAQKCYJ", ("def_queryType", "'; --")), 422, "values"),
            (request("newclsReportDaoOut", ("dDate", "2002-03-01' --")), 422, "date"),
            ({"request": STOCK, "connection": "nowhere"}, 400, "nowhere")]:
        reply = visitor.ask("POST", "/api/1/runs", body)
        same(reply.status, status, str(body) + reply.data.decode())
        assert word in json.loads(reply.data)["error"]["text"], (body, reply.data)
    # What the host words itself may stand there, quotes and all.
    for sql, value in [("I.cInvCode >= 'O''Neill'", "O'Neill"), ("I.cInvCode = 'a'", "a")]:
        item = {"Name": "I.cInvCode", "varValue": value, "strSqlString": sql}
        visitor.wait(visitor.start({"class": "clsRepAQKCYJ", "filters": [item]}))


def check_rows(visitor, run, status):
    every = visitor.rows(run, count=2000)["rows"]
    names = [c["name"] for c in status["columns"]]
    cell = lambda row, name: row[names.index(name)]
    kinds = {c["name"]: c["kind"] for c in status["columns"]}
    same((kinds["dDate"], kinds["RKSL"], kinds["CHBM"]), ("date", "number", "text"), "kinds")
    assert [c["empty"] for c in status["columns"]] == [
        all(row[i] in (None, "") for row in every) for i in range(len(names))], "empty columns"
    number = lambda row: decimal.Decimal(cell(row, "RKSL"))
    window = visitor.rows(run, **{"from": 7, "count": 3})
    same((window["from"], window["rows"]), (7, every[7:10]), "a window")
    same(visitor.rows(run, **{"from": 10**9})["rows"], [], "beyond the end")
    ordered = visitor.rows(run, sort="-RKSL,CHBM", count=2000)["rows"]
    same([number(r) for r in ordered], sorted(map(number, every), reverse=True), "sorted")
    some = cell(every[0], "CHBM")
    for where, keeps in [
            ([["CHBM", "=", some]], lambda r: cell(r, "CHBM") == some),
            ([["CHMC", "contains", "水"]], lambda r: "水" in cell(r, "CHMC")),
            ([["RKSL", ">=", "9.5"], ["RKSL", "<=", "100"]], lambda r: 9.5 <= number(r) <= 100),
            ([["dDate", "<=", "2002-02-01"]], lambda r: cell(r, "dDate") <= "2002-02-01"),
            ([["PH", "filled", None]], lambda r: cell(r, "PH") not in (None, "")),
            ([["PH", "empty", None]], lambda r: cell(r, "PH") in (None, ""))]:
        asked = [dict(zip(("column", "op", "value"), c)) for c in where]
        kept = [r for r in every if keeps(r)]
        got = visitor.rows(run, where=asked, count=2000)
        same((got["total"], got["rows"]), (len(kept), kept), where)
        query = urllib.parse.urlencode({"where": json.dumps(asked)})
        total = visitor.get(f"runs/{run}/totals?{query}")["totals"]["RKSL"]
        same(decimal.Decimal(total), sum(map(number, kept)), f"totals of {where}")
    values = visitor.get(f"runs/{run}/values?column=SFBZ")["values"]
    same({v["value"]: v["count"] for v in values},
         {w: sum(cell(r, "SFBZ") == w for r in every) for w in ("入库", "出库")}, "values")
    groups = visitor.get(f"runs/{run}/groups?category=dDate&by=month&values=RKSL&limit=6")
    months = sorted({cell(r, "dDate")[:7] for r in every})
    same([g[0] for g in groups["rows"]], months[:6], "months")
    same(groups["others"], max(0, len(months) - 6), "other months")
    same(decimal.Decimal(groups["rows"][0][1]),
         sum(number(r) for r in every if cell(r, "dDate").startswith(months[0])), "a month's sum")
    for path, word in [("rows?sort=nothing", "nothing"), ("rows?where=%5B1%5D", "object"),
                       ("rows?count=-1", "count"), ("groups?category=CHBM&values=CHBM", "numbers"),
                       ("rows?where=" + urllib.parse.quote('[{"column":"RKSL","op":">=",'
                                                           '"value":"1; DROP"}]'), "number"),
                       ("export?format=exe", "formats")]:
        text = visitor.get(f"runs/{run}/{path}", status=400)["error"]["text"]
        assert word in text, (path, text)
    check_exports(visitor, run, names, ordered)


def check_exports(visitor, run, names, ordered):
    reply = lambda kind, more="": visitor.ask(
        "GET", f"/api/1/runs/{run}/export?format={kind}&sort=-RKSL,CHBM{more}").data
    exported = json.loads(reply("json"), parse_float=str, parse_int=str, object_pairs_hook=list)
    same([[text_of(v) for _, v in row] for row in exported], ordered, "the export in json")
    lines = reply("csv", "&columns=CHBM,dDate").decode("utf-8-sig").splitlines()
    same(lines[:2], ["CHBM,dDate", ",".join(ordered[0][names.index(n)]
                                            for n in ("CHBM", "dDate"))], "the export in csv")
    with open("e.xlsx", "wb") as file:
        file.write(reply("xlsx"))
    sheet = openpyxl.load_workbook("e.xlsx", read_only=True).active
    assert names in [[c for c in row] for row in sheet.iter_rows(values_only=True, max_row=4)]


def check_runs(process, link, visitor):
    other = Visitor(link).enter()
    run = visitor.start(STOCK)
    visitor.wait(run)
    for path in ("", "/rows", "/export?format=csv"):
        other.get(f"runs/{run}{path}", status=404)
    other.get("runs/" + run, "DELETE", status=404)
    # Another holds the table: the run waits, and is stopped, or its worker dies.
    os.environ["LEDGERWICK_CONNECTION"] = "embedded:s.db"
    holder = subprocess.Popen([program, "run", "clsRepLsz", "--format", "csv"],
                              stdout=subprocess.PIPE)
    holder.stdout.read(1)
    waits = visitor.start(JOURNAL)
    while "another" not in (status := visitor.get("runs/" + waits))["phase"]:
        assert status["state"] == "running", status
        time.sleep(0.02)
    visitor.get(f"runs/{waits}/rows", status=409)
    workers = [int(p) for p in subprocess.run(["pgrep", "-P", str(process.pid)], text=True,
                                              capture_output=True).stdout.split()]
    same(len(workers), 1, "workers")
    queued = visitor.get("runs/" + visitor.start(STOCK))  # the desk answers meanwhile
    same(queued["phase"], "waiting for its turn", "beyond --jobs")
    visitor.get(f"runs/{waits}/stop", "POST")
    same(visitor.wait(waits, "stopped")["error"], None, "a stopped run's error")
    dies = visitor.start(JOURNAL)
    while "another" not in visitor.get("runs/" + dies)["phase"]:
        time.sleep(0.02)
    for pid in subprocess.run(["pgrep", "-P", str(process.pid)], text=True,
                              capture_output=True).stdout.split():
        os.kill(int(pid), signal.SIGKILL)
    assert "Killed" in visitor.wait(dies, "failed")["error"]["text"]
    holder.kill()
    holder.communicate()
    visitor.wait(visitor.start(JOURNAL))
    visitor.get("runs/" + run, "DELETE", status=204)
    visitor.get("runs/" + run, status=404)


def check_comparison(visitor):
    narrow = visitor.start(request("clsRepXCL", ("WH.cWhCode", "01")))
    wide = visitor.start(request("clsRepXCL"))
    old = visitor.start(request("clsRepXCL"), connection="old")
    few, all_ = (visitor.wait(r)["rows"] for r in (narrow, wide))
    visitor.wait(old)
    made = visitor.get(f"runs/{narrow}/compare", "POST", {"with": wide}, 201)["run"]
    visitor.wait(made)
    rows = visitor.rows(made, count=2000)["rows"]
    same([r[0] for r in rows], ["only there"] * (all_ - few), "rows of one side")
    made = visitor.get(f"runs/{wide}/compare", "POST", {"with": old}, 201)["run"]
    names = [c["name"] for c in visitor.wait(made)["columns"]]
    rows = visitor.rows(made, count=2000)["rows"]
    same({r[0] for r in rows}, {"changed"}, "changed rows")
    assert all(" → 改" in r[names.index("cInvName")] for r in rows), rows[0]
    made = visitor.get(f"runs/{wide}/compare", "POST", {"with": old, "keys": ["no"]}, 201)["run"]
    assert "no" in visitor.wait(made, "failed")["error"]["text"]


def check_words(visitor):
    reports = visitor.get("reports")["reports"]
    same(len({r["class"] for r in reports}), 18, "reports")
    for report in reports:
        assert any("\u4e00" <= c for c in report["title"]["zh"]) and report["title"]["en"], report
        for item in report["filters"] + report["columns"]:
            english = item.get("english") or item.get("en")
            assert english and not any("\u4e00" <= c <= "\u9fff" for c in english), item
    same([r["class"] for r in reports if not r["runnable"]], ["newClsReportDaoSaleProfit"], "why")
    for kind, q in [("warehouse", "01"), ("item", "0101"), ("class", "01"), ("customer", "C0003"),
                    ("vendor", "V"), ("department", "0"), ("person", ""), ("location", ""),
                    ("movement", "1"), ("saletype", ""), ("vouchertype", ""), ("batch", "")]:
        items = visitor.get(f"pick/{kind}?q={q}&limit=3")["items"]
        assert items and all(q in i["code"] or q in i["name"] for i in items), (kind, items)
    session = visitor.get("session")
    assert session["folder"] and session["connections"] == ["old"], session
    checked = visitor.get("check", "POST", request("clsRepHwhz", ("dDate", "2002-03-01")))
    assert "LW301" in [f["code"] for f in checked["findings"]], checked
    found = visitor.get("check?database=1", "POST", request("clsRepXCL", ("WH.cWhCode", "77")))
    assert "LW030" in [f["code"] for f in found["findings"]], found
    asked = request("clsRepAQKCYJ", ("I.cInvCode", "0101", "0199"), ReportTitle="it's")
    command = visitor.get("command", "POST", asked)["command"]
    printed = subprocess.run(["sh", "-c", command + " --format json"], capture_output=True,
                             env={**os.environ, "PATH": os.path.dirname(program) + ":/usr/bin:/bin"})
    run = visitor.start(asked)
    same((len(json.loads(printed.stdout)), b"it's" in printed.stderr),
         (visitor.wait(run)["rows"], True), command)
    sql = [s for s in visitor.get("runs/" + run)["statements"] if s["marks"]][0]
    same(sql["sql"][sql["marks"][0]["from"]:sql["marks"][0]["to"]],
         "I.cInvCode >= '0101' And I.cInvCode <= '0199'", "a marked condition")
    with open("t.json", "w") as file:
        json.dump(asked, file)
    same(visitor.get("trace", "POST", asked), json.loads(call("trace", "t.json")), "the trace")


def check_saved(visitor):
    for name in ["a", "存货 1", "x" * 120]:
        path = "requests/" + urllib.parse.quote(name)
        visitor.get(path, "PUT", STOCK, 204)
        same(visitor.get(path), STOCK, name)
    same([r["name"] for r in visitor.get("requests")["requests"]],
         sorted(["a", "存货 1", "x" * 120]), "kept requests")
    os.symlink("/etc/passwd", "kept/link.json")
    for name in ["..", "../s.db", "..%2Fs.db", "%2e%2e%2fx", ".hidden", "", "x" * 121, "a%00b",
                 "link", "a%0Ab", "nothing"]:
        reply = visitor.ask("GET", "/api/1/requests/" + name)
        assert reply.status in (400, 404), (name, reply.status, reply.data)
        if name not in ("", "link", "nothing"):
            reply = visitor.ask("PUT", "/api/1/requests/" + name, STOCK)
            assert reply.status in (400, 404), (name, reply.status)
    visitor.get("requests/b", "PUT", {"class": "nothing"}, 400)
    visitor.get("requests/link", "DELETE", status=204)
    same(sorted(os.listdir("kept")), sorted(n + ".json" for n in ["a", "存货 1", "x" * 120]), "kept")
    assert "3 done" in subprocess.run(
        [program, "batch", "kept", "--output", "out", "--connection", "embedded:s.db"], text=True,
        capture_output=True).stderr or len(os.listdir("out")) >= 3
    visitor.get("requests/a", "DELETE", status=204)
    visitor.get("requests/a", status=404)


HOSTILE = "<script>alert('x')</script>\u202e\"&=1+1"


def main():
    call("sample", "create", "s.db", "--lines", "1500")
    call("query", "--connection", "embedded:s.db",
         "UPDATE Inventory SET cInvName = N'%s' WHERE cInvCode = '010101001'" % HOSTILE.replace("'", "''"))
    shutil.copy("s.db", "old.db")
    call("query", "--connection", "embedded:old.db", "UPDATE Inventory SET cInvName = N'改' + cInvName")
    os.mkdir("kept")
    with desk("--connection", "embedded:s.db", "--with", "old=embedded:old.db", "--folder", "kept",
              "--jobs", "1") as (process, link):
        visitor = Visitor(link).enter()
        check_gate(link, visitor)
        check_refused(visitor)
        journal = None
        for report in visitor.get("reports")["reports"]:
            if not report["runnable"]:
                assert "not implemented" in visitor.wait(
                    visitor.start(request(report["class"])), "failed")["error"]["text"]
                continue
            dates = [f["name"] for f in report["filters"] if f["kind"] == "date"][:1]
            filters = [(d, "2002-01-01", "2002-12-31") for d in dates]
            ran = equal_to_run(visitor, "embedded:s.db", request(report["class"], *filters, **LOGIN))
            assert ran[1]["rows"] or report["class"] == "clsRepBzqyj", report["class"]
            if report["class"] == "clsRepLsz":
                journal = ran
        check_rows(visitor, journal[0], journal[1])
        run = visitor.start(STOCK)
        visitor.wait(run)
        same(visitor.get(f"runs/{run}/values?column=CHMC&q=script")["values"][0]["value"], HOSTILE,
             "a hostile name")
        check_comparison(visitor)
        check_words(visitor)
        check_saved(visitor)
        check_runs(process, link, visitor)
    with desk("--connection", "embedded:s.db", "--max-rows", "10") as (_, link):
        visitor = Visitor(link).enter()
        error = visitor.wait(visitor.start(request("clsRepXCL")), "failed")["error"]
        assert "more than 10 rows" in error["text"], error
        visitor.get("requests", status=404)
    check_other_ways()
    print("the desk answers as it should")


def check_other_ways():
    """Through a server, with a password, with encryption; and a desk that is killed."""
    with open("secret", "w") as file:
        file.write("open sesame\n")
    with subprocess.Popen([program, "serve", "s.db", "--listen", "127.0.0.1:0", "--password-file",
                           "secret"], stdout=subprocess.PIPE) as server:
        port = re.search(rb":(\d+);", server.stdout.readline())[1].decode()
        os.environ["LEDGERWICK_PASSWORD"] = "open sesame"
        with desk("-S", "127.0.0.1," + port, "-U", "sa") as (_, link):
            visitor = Visitor(link).enter()
            assert "open" not in visitor.get("session")["connection"]
            for report in [STOCK, JOURNAL, request("newclsReportDataSaleTotal")]:
                equal_to_run(visitor, "embedded:s.db", report)
        server.terminate()
    subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", "k.pem",
                    "-out", "c.pem", "-days", "2", "-subj", "/CN=desk.test", "-addext",
                    "subjectAltName=DNS:desk.test,IP:127.0.0.1"], check=True, capture_output=True)
    exposed = subprocess.run([program, "desk", "--connection", "embedded:s.db", "--listen",
                              "0.0.0.0:0", "--password-file", "secret"], capture_output=True)
    assert exposed.returncode == 1 and b"--tls-cert" in exposed.stderr, exposed
    with desk("--connection", "embedded:s.db", "--password-file", "secret", "--tls-cert", "c.pem",
              "--tls-key", "k.pem") as (_, link):
        visitor = Visitor(link, ssl.create_default_context(cafile="c.pem"))
        basic = lambda word: "Basic " + base64.b64encode(b"me:" + word).decode()
        for headers, status in [({}, 401), ({"Authorization": basic(b"wrong")}, 401),
                                ({"Authorization": basic(b"open sesame")}, 303),
                                ({"Host": f"desk.test:{visitor.port}"}, 401),
                                ({"Host": f"evil.test:{visitor.port}"}, 403)]:
            reply = visitor.ask("GET", "/", **headers)
            same(reply.status, status, str(headers))
            if status == 303:
                assert "Secure" in reply.headers["Set-Cookie"]
                visitor.cookie = reply.headers["Set-Cookie"].split(";")[0]
                visitor.get("session")
                visitor.cookie = None
    with desk("--connection", "embedded:s.db") as (process, link):
        killed = subprocess.Popen([program, "desk", "--connection", "embedded:s.db", "--listen",
                                   "127.0.0.1:0"], stdout=subprocess.PIPE)
        killed.stdout.readline()
        visitor = Visitor(killed.stdout.readline().decode().strip()).enter()
        visitor.wait(visitor.start(STOCK))
        killed.kill()
        killed.communicate()
        with desk("--connection", "embedded:s.db"):  # sweeps what was left behind
            pass_by = [n for n in os.listdir(folder) if n.startswith("ledgerwick-rows-")]
            same(len(pass_by), 2, "folders of the two that live")
            process.send_signal(signal.SIGTERM)
            process.wait(20)


try:
    main()
finally:
    shutil.rmtree(folder)
