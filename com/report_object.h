// A report as a COM object. Its dual interface has no C++ class: the interfaces of the classes
// differ in the order of their members, so each class's function table is put together from the
// class table, one entry for each access of each member.
#pragma once

#include <memory>
#include <vector>

#include "com/com_types.h"
#include "com/errors.h"
#include "com/module.h"
#include "com/windows_system.h"
#include "frame/report_provider.h"

namespace ledgerwick::com {

// An entry of a function table; each is called with the signature that its member has.
using Entry = void (*)();

// What a caller's interface pointer points to.
struct Face {
  const Entry* table;
};

// The object behind a Face. Counts its references; belongs to one apartment.
class ReportObject final : public Face {
 public:
  // Creates an object of the class and hands out its interface `iid`. Gives E_NOINTERFACE for one
  // that it lacks.
  static HRESULT Create(const ClassInfo& info, const ClassTypes& types, REFIID iid, void** result);

  static ReportObject& Of(Face* face) noexcept { return *static_cast<ReportObject*>(face); }

  ReportProvider& provider() noexcept { return *provider_; }
  const IID& interface_id() const noexcept { return interface_id_; }
  ITypeInfo* interface_type() const noexcept { return interface_type_.Get(); }

  HRESULT QueryInterface(REFIID iid, void** result) noexcept;
  ULONG AddRef() noexcept;
  ULONG Release() noexcept;

 private:
  // Says that failing members leave a description.
  class ErrorSupport final : public ISupportErrorInfo {
   public:
    explicit ErrorSupport(ReportObject& object) : object_(object) {}
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** result) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID iid) override;

   private:
    ReportObject& object_;
  };

  ReportObject(const ClassInfo& info, const ClassTypes& types);

  ModuleLock keep_loaded_;
  LONG references_ = 1;
  IID interface_id_;
  ComPtr<ITypeInfo> interface_type_;
  ErrorSupport error_support_{*this};
  WindowsSystem system_;
  std::unique_ptr<ReportProvider> provider_;
};

// Runs `body(object)`, which may throw, for a member called through `face`: the one place where
// exceptions become result codes. The object outlives the call whatever the host does meanwhile.
// The thread's error description afterwards is this call's, or none.
template <typename Body>
HRESULT Guarded(Face* face, Body body) noexcept {
  ReportObject& object = ReportObject::Of(face);
  object.AddRef();
  SetErrorInfo(0, nullptr);
  HRESULT result = S_OK;
  try {
    result = body(object);
  } catch (...) {
    result = ReportException(object.interface_id());
  }
  // The last reference leads to the host's objects, which may leave errors of their own.
  ComPtr<IErrorInfo> description;
  if (FAILED(result)) GetErrorInfo(0, description.Receive());
  object.Release();
  SetErrorInfo(0, description.Get());
  return result;
}

// The entries of IUnknown and IDispatch, in their order.
std::vector<Entry> DispatchEntries();

// Appends the entries of `member` to `table`: reading before writing.
void AppendEntries(Member member, std::vector<Entry>& table);

}  // namespace ledgerwick::com
