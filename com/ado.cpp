#include "com/ado.h"

#include "com/variant_value.h"
#include "frame/error.h"

namespace ledgerwick::com {
namespace {

// ADO's "Parameter object is improperly defined": some providers refuse a text of size 0.
constexpr std::int32_t kImproperlyDefined = 3708;

class AdoCommand final : public Command {
 public:
  explicit AdoCommand(ComPtr<IDispatch> connection) : object_(CreateByProgId(L"ADODB.Command")) {
    object_.PutReference(L"ActiveConnection", connection.Get());
  }

  void SetCommandText(const Text& text) override {
    object_.Put(L"CommandText", Variant::OfText(text));
  }
  void SetCommandType(std::int32_t type) override {
    object_.Put(L"CommandType", Variant::OfInteger(type));
  }
  void SetCommandTimeout(std::int32_t seconds) override {
    object_.Put(L"CommandTimeout", Variant::OfInteger(seconds));
  }

  void AppendParameter(const Text& name, std::int32_t type, std::int32_t size,
                       const Text& value) override {
    DispatchObject parameter(ToObject(object_.Call(
        L"CreateParameter",
        {Variant::OfText(name), Variant::OfInteger(type), Variant::OfInteger(kParameterInput),
         Variant::OfInteger(size), Variant::OfText(value)})));
    DispatchObject parameters(ToObject(object_.Call(L"Parameters")));
    const auto append = [&] { parameters.Call(L"Append", {Variant::OfObject(parameter.Get())}); };
    try {
      append();
    } catch (const DatabaseError& error) {
      if (error.number != kImproperlyDefined) throw;
      parameter.Put(L"Size", Variant::OfInteger(1));
      append();
    }
  }

  void Execute(std::int32_t options) override {
    Variant affected;  // nobody reads it
    object_.Call(L"Execute", {Variant::ByReference(affected.Get()), Variant::Missing(),
                              Variant::OfInteger(options)});
  }

 private:
  DispatchObject object_;
};

class AdoRecordset final : public Recordset {
 public:
  AdoRecordset(ComPtr<IDispatch> connection, const Text& sql, const RecordsetOptions& options)
      : object_(CreateByProgId(L"ADODB.Recordset")) {
    object_.Put(L"CursorLocation", Variant::OfInteger(options.cursor_location));
    object_.Call(L"Open",
                 {Variant::OfText(sql), Variant::OfObject(connection.Get()),
                  Variant::OfInteger(options.cursor_type), Variant::OfInteger(options.lock_type),
                  Variant::OfInteger(options.command_type)});
  }

  void SetFilter(const Text& criteria) override {
    object_.Put(L"Filter", Variant::OfText(criteria));
  }
  std::int32_t RecordCount() override { return ToInteger(object_.Call(L"RecordCount")); }
  bool AtEnd() override { return ToBoolean(object_.Call(L"EOF")); }
  void MoveNext() override { object_.Call(L"MoveNext"); }
  Value Field(const Text& name) override {
    DispatchObject fields(ToObject(object_.Call(L"Fields")));
    DispatchObject field(ToObject(fields.Call(L"Item", {Variant::OfText(name)})));
    return ToValue(field.Call(L"Value"));
  }
  void Close() override { object_.Call(L"Close"); }

 private:
  DispatchObject object_;
};

}  // namespace

std::shared_ptr<AdoConnection> AdoConnection::New() {
  return std::make_shared<AdoConnection>(CreateByProgId(L"ADODB.Connection").Shared());
}

void AdoConnection::Open(const Text& connection_string, const Text& user, const Text& password,
                         std::int32_t options) {
  object_.Call(L"Open", {Variant::OfText(connection_string), Variant::OfText(user),
                         Variant::OfText(password), Variant::OfInteger(options)});
}

void AdoConnection::Execute(const Text& sql, std::int32_t options) {
  Variant affected;  // nobody reads it
  object_.Call(L"Execute", {Variant::OfText(sql), Variant::ByReference(affected.Get()),
                            Variant::OfInteger(options)});
}

void AdoConnection::Close() { object_.Call(L"Close"); }

std::unique_ptr<Command> AdoConnection::NewCommand() {
  return std::make_unique<AdoCommand>(object_.Shared());
}

std::unique_ptr<Recordset> AdoConnection::OpenRecordset(const Text& sql,
                                                        const RecordsetOptions& options) {
  return std::make_unique<AdoRecordset>(object_.Shared(), sql, options);
}

}  // namespace ledgerwick::com
