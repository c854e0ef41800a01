// The component as the other script language uses it; ends with 42 when all is well.
var report = new ActiveXObject("Ledgerwick.clsRepAQKCYJ");
report.ReportTitle = "Stock";
var stock = new ActiveXObject("Ledgerwick.clsRepXCL");
var refused = false;
try {
  stock.RepForFuzzy();
} catch (e) {
  refused = true;
}
var got = [report.TempTablename(), report.ReportTitle, stock.GetClassLength("223"),
           stock.RepForFuzzy("a?b*"), stock.ExistsFuzzyChar("a"), refused].join(" ");
if (got != "tempdb..tempAqkcyj Stock 7 a_b% false true") {
  WScript.Echo(got);
  WScript.Quit(1);
}
WScript.Quit(42);
