// Goes through results in every direction and back to save points: HOST PORT USER PASSWORD.
import java.sql.*;

public class Scroll {
  static StringBuilder line = new StringBuilder();

  static void say(Object what) { line.append(line.length() == 0 ? "" : " ").append(what); }

  static void end(String name) {
    System.out.println(name + ": " + line);
    line.setLength(0);
  }

  // Each word moves; what stands there is said.
  static void walk(ResultSet rows, String way) throws SQLException {
    for (String step : way.split(" ")) {
      int n = step.matches(".*\\d") ? Integer.parseInt(step.substring(1)) : 0;
      boolean there;
      switch (step.charAt(0)) {
        case 'n': there = rows.next(); break;
        case 'p': there = rows.previous(); break;
        case 'f': there = rows.first(); break;
        case 'l': there = rows.last(); break;
        case '=': there = rows.absolute(n); break;
        case '~': there = rows.relative(n); break;
        case 'b': rows.beforeFirst(); there = false; break;
        case 'e': rows.afterLast(); there = false; break;
        default: throw new SQLException(step);
      }
      say(there ? rows.getString(1) + rows.getString(2) + "@" + rows.getRow()
          : rows.isBeforeFirst() ? "before" : rows.isAfterLast() ? "after" : "nowhere");
    }
  }

  static void failure(String name, Statement statement, String sql) throws SQLException {
    try {
      statement.executeQuery(sql);
      say("no error");
    } catch (SQLException error) {
      say(error.getErrorCode());
    }
    end(name);
  }

  public static void main(String[] args) throws Exception {
    Class.forName("net.sourceforge.jtds.jdbc.Driver");
    String url = "jdbc:jtds:sqlserver://" + args[0] + ":" + args[1] + "/s";
    try (Connection connection = DriverManager.getConnection(url, args[2], args[3])) {
      Statement plain = connection.createStatement();
      plain.execute("CREATE TABLE #w (a int NOT NULL PRIMARY KEY, b nvarchar(9) NULL)");
      for (int i = 1; i <= 10; ++i) plain.execute("INSERT INTO #w VALUES (" + i + ", " + (i % 3 == 0 ? "NULL" : "N'行'") + ")");
      Statement scroll = connection.createStatement(ResultSet.TYPE_SCROLL_INSENSITIVE, ResultSet.CONCUR_READ_ONLY);
      for (int size : new int[] {1, 3, 100}) {
        scroll.setFetchSize(size);
        try (ResultSet rows = scroll.executeQuery("SELECT a, b FROM #w ORDER BY a")) {
          walk(rows, "n n n n p l n p p f p n =5 ~3 =-2 =0 =11 p e p b n ~20");
          plain.execute("DELETE FROM #w WHERE a = 10 INSERT INTO #w VALUES (10, N'行')");
          walk(rows, "l f");
        }
        end("by " + size);
      }
      try (ResultSet rows = scroll.executeQuery("SELECT a, b FROM #w WHERE a > 99")) {
        walk(rows, "n p f l =1");
      }
      end("nothing");
      try (PreparedStatement prepared = connection.prepareStatement("SELECT a, b FROM #w WHERE a > ? AND b = ? ORDER BY a DESC",
           ResultSet.TYPE_SCROLL_INSENSITIVE, ResultSet.CONCUR_READ_ONLY)) {
        for (int least : new int[] {6, 3}) {
          prepared.setInt(1, least);
          prepared.setString(2, "行");
          try (ResultSet rows = prepared.executeQuery(); ResultSet other = scroll.executeQuery("SELECT a, b FROM #w ORDER BY a")) {
            walk(rows, "l p f");
            walk(other, "=2");
          }
        }
      }
      end("prepared");
      try (Statement updatable = connection.createStatement(ResultSet.TYPE_SCROLL_SENSITIVE, ResultSet.CONCUR_UPDATABLE);
           ResultSet rows = updatable.executeQuery("SELECT a, b FROM #w ORDER BY a")) {
        say(rows.getType() == ResultSet.TYPE_SCROLL_INSENSITIVE);
        say(rows.getConcurrency() == ResultSet.CONCUR_READ_ONLY);
        walk(rows, "l");
      }
      end("updatable");
      try (PreparedStatement prepared = connection.prepareStatement("SELECT cWhCode, cWhName FROM WareHouse WHERE cWhCode = ?")) {
        ResultSetMetaData columns = prepared.getMetaData();
        say(columns.getColumnCount() + " " + columns.getColumnName(2) + " " + columns.getColumnTypeName(2));
      }
      end("before it runs");
      plain.execute("CREATE PROCEDURE given @code varchar(10), @sum money = 0 OUTPUT AS SELECT @code AS c");
      try (ResultSet parameters = connection.getMetaData().getProcedureColumns(null, null, "given", "%")) {
        while (parameters.next()) say(parameters.getString("COLUMN_NAME") + ":" + parameters.getString("TYPE_NAME") + ":" + parameters.getInt("COLUMN_TYPE"));
      }
      plain.execute("DROP PROCEDURE given");
      end("parameters");
      failure("no table", scroll, "SELECT a FROM nosuch");
      failure("no query", scroll, "SELECT 1 AS a, 2 AS b SELECT 3 AS c SELECT 1/0 AS d");
      connection.setAutoCommit(false);
      plain.executeUpdate("DELETE FROM #w");
      Savepoint named = connection.setSavepoint("one");
      plain.executeUpdate("INSERT INTO #w VALUES (1, N'a')");
      Savepoint unnamed = connection.setSavepoint();
      plain.executeUpdate("INSERT INTO #w VALUES (2, N'b')");
      connection.rollback(unnamed);
      try (ResultSet rows = scroll.executeQuery("SELECT a, b FROM #w")) { walk(rows, "l"); }
      connection.rollback(named);
      try (ResultSet rows = scroll.executeQuery("SELECT COUNT(*), @@TRANCOUNT FROM #w")) { walk(rows, "f"); }
      plain.executeUpdate("INSERT INTO #w VALUES (3, N'c')");
      connection.commit();
      connection.setAutoCommit(true);
      try (ResultSet rows = scroll.executeQuery("SELECT a, b FROM #w")) { walk(rows, "l"); }
      end("save points");
    }
  }
}
