' The component as a script uses it. Says what went wrong and ends with 1; ends with 42 when all is
' well, because a script host may end with 0 after an error.
Option Explicit
Dim failures
failures = 0

Sub Check(what, got, wanted)
  If TypeName(got) = TypeName(wanted) Then
    If got = wanted Then Exit Sub
  End If
  failures = failures + 1
  WScript.Echo what & ": " & TypeName(got) & " " & CStr(got) & " instead of " & CStr(wanted)
End Sub

Dim report
Set report = CreateObject("Ledgerwick.clsRepAQKCYJ")
Check "table", report.TempTablename, "tempdb..tempAqkcyj"
report.ReportTitle = "Stock"
report.mConnectionString = "Provider=x"
Check "title", report.ReportTitle, "Stock"
Check "connection string", report.mConnectionString, "Provider=x"
Set report.ObjReportManager = report
Check "manager", report.ObjReportManager Is report, True
Set report.ObjReportManager = Nothing
Check "no manager", report.ObjReportManager Is Nothing, True

' Variables go by reference and come back unchanged.
Dim stock, coding, low, high, connection
Set stock = CreateObject("Ledgerwick.clsRepXCL")
coding = "223"
low = "1"
high = "2"
Set connection = Nothing
Check "code length", stock.GetClassLength(coding), CLng(7)
Check "its argument", coding, "223"
Check "range", stock.GetDigConditionString("n", high, low), "n>=1 AND n<=2"
Check "its bounds", low & high, "12"
Check "wildcard", stock.ExistsFuzzyChar("a*"), True
Check "pattern", stock.RepForFuzzy("a?b*"), "a_b%"
Check "replaced", stock.RepCharWithChar("a-b", "-", "+"), "a+b"
Check "no connection", stock.GetGoodClass(connection), ""
Check "digits", CreateObject("Ledgerwick.clsRepSFC").SumString("1a2"), CLng(3)

On Error Resume Next
report.NoSuchMember
Check "unknown member", Err.Number, CLng(438)
Err.Clear
report.ReportTitle = Array(1)
Check "wrong type", Err.Number, CLng(13)
Err.Clear
report.TempTablename 1
Check "too many arguments", Err.Number, CLng(450)
Err.Clear
CreateObject("Ledgerwick.clsRepPcch").MoveDataDetail
Check "no report manager", Err.Number, CLng(91)
Check "who says so", Err.Source, "Ledgerwick"
Check "what", Err.Description, "Object variable or With block variable not set"
On Error GoTo 0

If failures > 0 Then WScript.Quit 1
WScript.Quit 42
