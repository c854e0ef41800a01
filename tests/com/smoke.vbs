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
Check "title", report.ReportTitle, "Stock"
Set report.ObjReportManager = report
Check "manager", report.ObjReportManager Is report, True

' A variable goes by reference and comes back unchanged.
Dim stock, coding
Set stock = CreateObject("Ledgerwick.clsRepXCL")
coding = "223"
Check "code length", stock.GetClassLength(coding), CLng(7)
Check "its argument", coding, "223"
Check "no connection", stock.GetGoodClass(Nothing), ""

On Error Resume Next
CreateObject("Ledgerwick.clsRepPcch").MoveDataDetail
Check "no report manager", Err.Number, CLng(91)
Check "who says so", Err.Source, "Ledgerwick"
Check "what", Err.Description, "Object variable or With block variable not set"
On Error GoTo 0

If failures > 0 Then WScript.Quit 1
WScript.Quit 42
