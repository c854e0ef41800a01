// The notes on requests in general. Part of notes.cpp; in Chinese they stand in
// notes_chinese.cpp.
#pragma once

#include <array>

#include "host/notes.h"

namespace ledgerwick::general_notes {

using enum Severity;

inline constexpr auto kGeneralNotes = std::to_array<Note>({
    {u"LW001", Warning, u"", u"The report has no filter of that name.",
     u"Give the filter's name as `describe` shows it."},
    {u"LW002", Warning, u"", u"A caption stands where the name is meant.",
     u"Put the filter's name into Name; the command's --filter takes either."},
    {u"LW003", Warning, u"",
     u"The report knows this filter by its caption alone, and the item has another or none.",
     u"Put the caption into strcaption."},
    {u"LW004", Warning, u"",
     u"Several items of one name: the host's condition has all of them, and where the report reads "
     u"the values, one of them counts.",
     u"Keep one."},
    {u"LW005", Warning, u"",
     u"The option does not know that value: what comes of it is not what the value says.",
     u"Give one of the known values."},
    {u"LW006", Error, u"", u"A date that is not in the calendar.", u"Give dates as yyyy-mm-dd."},
    {u"LW007", Error, u"", u"A number that is none.", u"Give a number such as 12.5."},
    {u"LW008", Error, u"", u"The report needs something of the login that the request lacks.",
     u"Give the login date with --login-date, the account with --account, or both in \"login\"."},
    {u"LW009", Error, u"", u"The report does nothing without a filter set.",
     u"Give \"filters\", which may be an empty list."},
    {u"LW010", Warning, u"", u"The range ends before it begins: no row meets it.",
     u"Put the lower bound first."},
    {u"LW011", Info, u"",
     u"All clients of the server share the result table: another run replaces it.",
     u"Read the table before anybody else runs the report; `run` does, on an embedded database."},
    {u"LW012", Info, u"",
     u"The result table's name ends in the first ten characters of the machine's name: machines "
     u"that begin alike share it.",
     u"Name machines apart within ten characters."},
    {u"LW020", Error, u"",
     u"The statement has AND where a condition belongs: the server refuses it.",
     u"Look at the statement with `trace`, and at the condition that the host has worded."},
    {u"LW021", Error, u"",
     u"Quotes or brackets of the statement do not match: the server refuses it.",
     u"Look at the values and conditions that hold quotes or brackets."},
    {u"LW022", Error, u"",
     u"The value breaks out of its quotes: what stands behind its quote is read as SQL.",
     u"Leave the quote out; no way of writing it is safe in this filter."},
    {u"LW023", Info, u"",
     u"The condition is long enough to travel through tempdb..newReportParameter, which all "
     u"clients share: two at once may get each other's.",
     u"Shorten the condition, or let such runs follow one another."},
    {u"LW024", Info, u"", u"The condition is close to a limit.",
     u"Keep it short: from 200 on it travels through a shared table, beyond 600 it is refused."},
    {u"LW025", Error, u"", u"The condition is longer than 600: the report refuses it.",
     u"Shorten the condition, with ranges in place of lists."},
    {u"LW026", Error, u"",
     u"A pair of quotes in a long condition does not survive the way through the parameter table: "
     u"the server refuses the statement.",
     u"Shorten the condition below 200, double its pairs of quotes, or move the filter with the "
     u"pair away from the end."},
    {u"LW027", Error, u"",
     u"A full-width quote in a long condition becomes an ordinary one on its way through the "
     u"parameter table, and breaks out of its value.",
     u"Leave the full-width quote out."},
    {u"LW028", Error, u"", u"The report ends in an error before its statement runs.",
     u"Look at what the error names."},
    {u"LW030", Warning, u"", u"The value occurs nowhere in this database: no row meets it.",
     u"Look the value up, with `query`."},
    {u"LW031", Error, u"", u"The database refuses the statement.",
     u"Look at the column that the error names, which a filter's name or condition brings in."},
    {u"LW032", Error, u"", u"No table of this database has the column that the condition names.",
     u"Give a filter that the report knows."},
});

}  // namespace ledgerwick::general_notes
