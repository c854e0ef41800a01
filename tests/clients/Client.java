// Runs statements through JDBC: HOST PORT USER PASSWORD VERSION; statements on standard input.
import java.io.*;
import java.math.BigDecimal;
import java.nio.charset.StandardCharsets;
import java.sql.*;
import java.text.SimpleDateFormat;

public class Client {
  static PrintStream out = new PrintStream(new FileOutputStream(FileDescriptor.out), true, StandardCharsets.UTF_8);

  static String show(Object value) throws Exception {
    if (value == null) return "NULL";
    if (value instanceof Boolean) return (Boolean) value ? "1" : "0";
    if (value instanceof BigDecimal) return ((BigDecimal) value).toPlainString();
    if (value instanceof Timestamp) return new SimpleDateFormat("yyyy-MM-dd HH:mm:ss.SSS").format(value);
    if (value instanceof Clob) return ((Clob) value).getSubString(1, (int) ((Clob) value).length());
    if (value instanceof Blob) return show(((Blob) value).getBytes(1, (int) ((Blob) value).length()));
    if (value instanceof byte[]) {
      StringBuilder digits = new StringBuilder("0x");
      for (byte b : (byte[]) value) digits.append(String.format("%02X", b));
      return digits.toString();
    }
    return value.toString();
  }

  static void set(PreparedStatement statement, int i, String value) throws Exception {
    String text = value.length() > 2 ? value.substring(2) : "";
    switch (value.substring(0, 2)) {
      case "i:": statement.setInt(i, Integer.parseInt(text)); break;
      case "n:": statement.setBigDecimal(i, new BigDecimal(text)); break;
      case "f:": statement.setDouble(i, Double.parseDouble(text)); break;
      case "s:": statement.setString(i, text); break;
      case "d:": statement.setTimestamp(i, Timestamp.valueOf(text)); break;
      default: statement.setNull(i, Types.VARCHAR);
    }
  }

  static void results(Statement statement, boolean rows, boolean counted) throws Exception {
    for (boolean more = true; more; rows = statement.getMoreResults(), more = rows || statement.getUpdateCount() >= 0) {
      if (!rows) {
        if (statement.getUpdateCount() > 0) out.println("count\t" + statement.getUpdateCount());
        continue;
      }
      ResultSet set = statement.getResultSet();
      int columns = set.getMetaData().getColumnCount();
      out.println("set");
      int count = 0;
      while (set.next()) {
        ++count;
        if (counted) continue;
        StringBuilder line = new StringBuilder("row");
        for (int i = 1; i <= columns; ++i) line.append('\t').append(show(set.getObject(i)));
        out.println(line);
      }
      if (counted) out.println("row\t" + count);
    }
  }

  static void run(Connection connection, String line) throws Exception {
    if (line.equals("begin")) { connection.setAutoCommit(false); return; }
    if (line.equals("commit")) { connection.commit(); connection.setAutoCommit(true); return; }
    if (line.equals("rollback")) { connection.rollback(); connection.setAutoCommit(true); return; }
    if (line.startsWith("? ")) {
      String[] parts = line.substring(2).split(" \\| ");
      try (PreparedStatement statement = connection.prepareStatement(parts[0])) {
        for (int i = 1; i < parts.length; ++i) set(statement, i, parts[i]);
        results(statement, statement.execute(), false);
      }
      return;
    }
    try (Statement statement = connection.createStatement()) {
      if (line.startsWith("cancel ")) {
        new Thread(() -> {
          try { Thread.sleep(400); statement.cancel(); } catch (Exception e) { }
        }).start();
        try {
          statement.execute(line.substring(7));
        } catch (SQLException error) {
          out.println("cancelled");
        }
        return;
      }
      boolean counted = line.startsWith("rows ");
      results(statement, statement.execute(counted ? line.substring(5) : line), counted);
    }
  }

  public static void main(String[] args) throws Exception {
    Class.forName("net.sourceforge.jtds.jdbc.Driver");
    String url = "jdbc:jtds:sqlserver://" + args[0] + ":" + args[1] + "/s;TDS=8.0";
    BufferedReader in = new BufferedReader(new InputStreamReader(System.in, StandardCharsets.UTF_8));
    try (Connection connection = DriverManager.getConnection(url, args[2], args[3])) {
      for (String line; (line = in.readLine()) != null; out.println("end")) {
        try {
          run(connection, line.replace("\\n", "\n"));
        } catch (SQLException error) {
          out.println("error\t" + error.getErrorCode());
        }
      }
      try (ResultSet columns = connection.getMetaData().getColumns(null, null, "WareHouse", "cWhCode")) {
        while (columns.next()) out.println("column\t" + columns.getString(4) + "\t" + columns.getString(6));
      }
    }
  }
}
