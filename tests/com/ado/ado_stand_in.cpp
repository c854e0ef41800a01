// A stand-in for ADO that the tests bind by manifest: connections, commands and recordsets which
// make ADO's own checks and let the helper execute what they are sent. The connection string reads
// "Port=N;Database=PATH".
#include <winsock2.h>
// winsock2.h comes before windows.h.
#include <memory>
#include <optional>

#include "../ado_contract.h"
#include "../fake_object.h"
#include "com/dispatch_object.h"
#include "com/variant_value.h"
#include "frame/database.h"
#include "frame/error.h"
#include "host/canned_recordset.h"
#include "wire.h"

namespace ledgerwick::com::testing {
namespace {

DatabaseError AdoError(std::int32_t number, TextView object, TextView text) {
  DatabaseError error(number, u"ADODB." + Text(object), Text(text));
  error.help_file = u"C:\\Windows\\HELP\\ADO270.CHM";
  error.help_context = 1240000U + static_cast<std::uint32_t>(number);
  return error;
}

DatabaseError Closed(TextView object) {
  return AdoError(3704, object, u"Operation is not allowed when the object is closed.");
}

Script& NoMishaps() {
  static Script script;
  script.log.clear();
  return script;
}

std::string PartOf(const std::string& text, const std::string& name) {
  const std::size_t at = text.find(name + "=");
  if (at == std::string::npos) return {};
  const std::size_t from = at + name.size() + 1;
  return text.substr(from, text.find(';', from) - from);
}

// The way to the helper.
class Link {
 public:
  ~Link() { Close(); }

  bool is_open() const { return socket_ != INVALID_SOCKET; }

  void Open(const std::string& connection_string) {
    if (is_open()) {
      throw AdoError(3705, u"Connection", u"Operation is not allowed when the object is open.");
    }
    WSADATA data;
    WSAStartup(MAKEWORD(2, 2), &data);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port =
        htons(static_cast<u_short>(std::atoi(PartOf(connection_string, "Port").c_str())));
    socket_ = socket(AF_INET, SOCK_STREAM, 0);
    if (connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
      Close();
      throw DatabaseError(kErrorFailed, u"Microsoft OLE DB Provider for SQL Server",
                          u"SQL Server does not exist or access denied.");
    }
    try {
      Ask('O', PartOf(connection_string, "Database"));
    } catch (const DatabaseError&) {
      Close();
      throw;
    }
  }

  void Close() {
    if (is_open()) closesocket(socket_);
    socket_ = INVALID_SOCKET;
  }

  std::string Ask(char operation, const std::string& text) {
    if (!is_open()) throw Closed(u"Connection");
    const std::string request = Frame(operation + text);
    send(socket_, request.data(), static_cast<int>(request.size()), 0);
    std::string answer;
    const auto read_all = [this](char* buffer, std::size_t size) {
      while (size > 0) {
        const int n = recv(socket_, buffer, static_cast<int>(size), 0);
        if (n <= 0) return false;
        buffer += n;
        size -= static_cast<std::size_t>(n);
      }
      return true;
    };
    if (!ReadFrame(read_all, answer)) {
      throw DatabaseError(kErrorFailed, u"Microsoft OLE DB Provider for SQL Server",
                          u"Connection broken.");
    }
    if (answer.front() == '+') return answer.substr(1);
    const std::vector<std::string> error = Parts(answer.substr(1), kFieldEnd);
    throw DatabaseError(std::atoi(error.at(0).c_str()), u"Microsoft OLE DB Provider for SQL Server",
                        FromUtf8(error.at(2)));
  }

 private:
  SOCKET socket_ = INVALID_SOCKET;
};

std::string Utf8(const FakeCall& call, std::size_t argument) {
  return ToUtf8(ToText(call.arguments.at(argument)));
}

ComPtr<IDispatch> NewConnection() {
  const auto link = std::make_shared<Link>();
  return FakeObject::Make(NoMishaps(),
                          {{L"Open",
                            [link](const FakeCall& call) {
                              CheckOpen(call);
                              link->Open(Utf8(call, 0));
                              return Variant();
                            }},
                           {L"Execute",
                            [link](const FakeCall& call) {
                              CheckExecute(call);
                              link->Ask('X', Utf8(call, 0));
                              return Variant();
                            }},
                           // Not ADO's: how the recordset of this stand-in gets its rows.
                           {L"RowsOf",
                            [link](const FakeCall& call) {
                              return Variant::OfText(FromUtf8(link->Ask('Q', Utf8(call, 0))));
                            }},
                           {L"Close", [link](const FakeCall&) {
                              if (!link->is_open()) throw Closed(u"Connection");
                              link->Close();
                              return Variant();
                            }}});
}

Handler Property(const std::shared_ptr<Variant>& value) {
  return [value](const FakeCall& call) {
    if (call.writes) *value = call.arguments.at(0);
    return *value;
  };
}

// A command's parameter; each field is a property of its name.
struct Parameter {
  std::shared_ptr<Variant> name = std::make_shared<Variant>();
  std::shared_ptr<Variant> type = std::make_shared<Variant>();
  std::shared_ptr<Variant> size = std::make_shared<Variant>();
  std::shared_ptr<Variant> value = std::make_shared<Variant>();
};

ComPtr<IDispatch> NewParameter(const FakeCall& call) {
  CheckParameter(call);
  Parameter parameter;
  *parameter.name = call.arguments[0];
  *parameter.type = call.arguments[1];
  *parameter.size = call.arguments[3];
  *parameter.value = call.arguments[4];
  return FakeObject::Make(NoMishaps(), {{L"Name", Property(parameter.name)},
                                        {L"Type", Property(parameter.type)},
                                        {L"Size", Property(parameter.size)},
                                        {L"Value", Property(parameter.value)}});
}

Text Quoted(const Text& text) {
  Text quoted = u"'";
  for (const char16_t c : text) quoted.append(c == u'\'' ? 2 : 1, c);
  return quoted + u"'";
}

struct CommandState {
  std::shared_ptr<Variant> connection = std::make_shared<Variant>();
  std::shared_ptr<Variant> text = std::make_shared<Variant>();
  std::shared_ptr<Variant> type = std::make_shared<Variant>();
  std::shared_ptr<Variant> timeout = std::make_shared<Variant>();
  Text arguments;

  // What the server is asked to run. ADO hands parameters over in their order, not by their names.
  Text Batch() const {
    const bool is_procedure = ToInteger(*type) == kCommandStoredProcedure;
    return is_procedure ? u"EXEC " + ToText(*text) + arguments : ToText(*text);
  }
};

void Append(CommandState& state, const FakeCall& call) {
  DispatchObject parameter(ToObject(call.arguments.at(0)));
  const std::int32_t type = ToInteger(parameter.Call(L"Type"));
  const bool is_text = type == kVarChar || type == kLongVarChar;
  if (is_text && ToInteger(parameter.Call(L"Size")) == 0) {
    throw AdoError(
        3708, u"Parameters",
        u"Parameter object is improperly defined. Inconsistent or incomplete information "
        u"was provided.");
  }
  state.arguments +=
      (state.arguments.empty() ? u" " : u", ") + Quoted(ToText(parameter.Call(L"Value")));
}

ComPtr<IDispatch> NewCommand() {
  const auto state = std::make_shared<CommandState>();
  const Handler parameters = [state](const FakeCall&) {
    return Variant::OfObject(FakeObject::Make(NoMishaps(), {{L"Append",
                                                             [state](const FakeCall& c) {
                                                               Append(*state, c);
                                                               return Variant();
                                                             }}})
                                 .Get());
  };
  const Handler execute = [state](const FakeCall& call) {
    CheckExecute(call);
    DispatchObject connection(ToObject(*state->connection));
    if (connection.Get() == nullptr) {
      throw AdoError(3709, u"Command", u"The connection cannot be used to perform this operation.");
    }
    return connection.Call(L"Execute", {Variant::OfText(state->Batch()), Variant::Missing(),
                                        Variant::OfInteger(kOptionUnspecified)});
  };
  return FakeObject::Make(
      NoMishaps(),
      {{L"ActiveConnection", Property(state->connection)},
       {L"CommandText", Property(state->text)},
       {L"CommandType", Property(state->type)},
       {L"CommandTimeout", Property(state->timeout)},
       {L"CreateParameter",
        [](const FakeCall& call) { return Variant::OfObject(NewParameter(call).Get()); }},
       {L"Parameters", parameters},
       {L"Execute", execute}});
}

// The rows of a recordset, as the helper encodes them. Its errors are ADO's.
struct Rows {
  std::vector<Text> names;
  std::optional<MemoryRecordset> open;

  MemoryRecordset& Open() {
    if (!open) throw Closed(u"Recordset");
    return *open;
  }

  void Read(const std::string& text) {
    names.clear();
    std::vector<CannedRow> rows;
    for (const std::string& line : Parts(text, kRowEnd)) {
      const std::vector<std::string> fields = Parts(line, kFieldEnd);
      if (names.empty()) {
        for (const std::string& field : fields) names.push_back(FromUtf8(field));
        continue;
      }
      CannedRow& row = rows.emplace_back();
      for (std::size_t i = 0; i < names.size(); ++i) row.emplace_back(names[i], Decode(fields[i]));
    }
    open.emplace(std::move(rows));
  }

  static Value Decode(const std::string& field) {
    const std::string text = field.substr(1);
    switch (field.front()) {
      case 'n':
        return Null{};
      case 'b':
        return text == "1";
      case 'i':
        return std::int64_t{std::atoll(text.c_str())};
      case 'd':
        return std::atof(text.c_str());
      case 't':
        return Date{std::atof(text.c_str())};
      default:
        return FromUtf8(text);
    }
  }

  // The name of the field that `key` names or numbers.
  Text FieldName(const Variant& key) const {
    const bool by_position = V_VT(key.Get()) == VT_I4;
    const auto position = static_cast<std::size_t>(by_position ? ToInteger(key) : 0);
    const Text name = by_position && position < names.size() ? names[position] : ToText(key);
    for (const Text& known : names) {
      if (EqualText(known, name)) return known;
    }
    throw AdoError(3265, u"Fields",
                   u"Item cannot be found in the collection corresponding to the requested name "
                   u"or ordinal.");
  }
};

ComPtr<IDispatch> NewFields(const std::shared_ptr<Rows>& rows) {
  const Handler count = [rows](const FakeCall&) {
    return Variant::OfInteger(static_cast<std::int32_t>(rows->names.size()));
  };
  const Handler item = [rows](const FakeCall& call) {
    const Text name = rows->FieldName(call.arguments.at(0));
    return Variant::OfObject(
        FakeObject::Make(
            NoMishaps(),
            {{L"Name", [=](const FakeCall&) { return Variant::OfText(name); }},
             {L"Value", [=](const FakeCall&) { return ToVariant(rows->Open().Field(name)); }}})
            .Get());
  };
  return FakeObject::Make(NoMishaps(), {{L"Count", count}, {L"Item", item}});
}

ComPtr<IDispatch> NewRecordset() {
  const auto rows = std::make_shared<Rows>();
  const auto location = std::make_shared<Variant>();
  return FakeObject::Make(
      NoMishaps(),
      {{L"CursorLocation", Property(location)},
       {L"Open",
        [rows, location](const FakeCall& call) {
          CheckRecordset(*location, call);
          DispatchObject connection(ToObject(call.arguments.at(1)));
          rows->Read(ToUtf8(ToText(connection.Call(L"RowsOf", {call.arguments.at(0)}))));
          return Variant();
        }},
       {L"Filter",
        [rows](const FakeCall& call) {
          rows->Open().SetFilter(ToText(call.arguments.at(0)));
          return Variant();
        }},
       {L"RecordCount",
        [rows](const FakeCall&) { return Variant::OfInteger(rows->Open().RecordCount()); }},
       {L"EOF", [rows](const FakeCall&) { return ToVariant(rows->Open().AtEnd()); }},
       {L"MoveNext",
        [rows](const FakeCall&) {
          rows->Open().MoveNext();
          return Variant();
        }},
       {L"Fields", [rows](const FakeCall&) { return Variant::OfObject(NewFields(rows).Get()); }},
       {L"Close", [rows](const FakeCall&) {
          rows->Open();
          rows->open.reset();
          return Variant();
        }}});
}

using Maker = ComPtr<IDispatch> (*)();

class Factory final : public IClassFactory {
 public:
  explicit Factory(Maker make) : make_(make) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** result) override {
    const bool known = iid == IID_IUnknown || iid == IID_IClassFactory;
    *result = known ? this : nullptr;
    return known ? S_OK : E_NOINTERFACE;
  }
  // The factories live as long as the module.
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID iid, void** result) override {
    return make_()->QueryInterface(iid, result);
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

 private:
  Maker make_;
};

}  // namespace
}  // namespace ledgerwick::com::testing

extern "C" HRESULT STDAPICALLTYPE DllCanUnloadNow() { return S_FALSE; }

extern "C" HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID class_id, REFIID iid, void** result) {
  using namespace ledgerwick::com::testing;
  static Factory connection(&NewConnection);
  static Factory command(&NewCommand);
  static Factory recordset(&NewRecordset);
  switch (class_id.Data1) {
    case 0x514:
      return connection.QueryInterface(iid, result);
    case 0x507:
      return command.QueryInterface(iid, result);
    case 0x535:
      return recordset.QueryInterface(iid, result);
    default:
      *result = nullptr;
      return CLASS_E_CLASSNOTAVAILABLE;
  }
}
