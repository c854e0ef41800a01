#include "com/report_object.h"

#include <algorithm>
#include <array>
#include <new>

namespace ledgerwick::com {
namespace {

// IDispatch, driven by the type library.

HRESULT STDMETHODCALLTYPE FaceQueryInterface(Face* face, REFIID iid, void** result) {
  return ReportObject::Of(face).QueryInterface(iid, result);
}

ULONG STDMETHODCALLTYPE FaceAddRef(Face* face) { return ReportObject::Of(face).AddRef(); }

ULONG STDMETHODCALLTYPE FaceRelease(Face* face) { return ReportObject::Of(face).Release(); }

HRESULT STDMETHODCALLTYPE FaceGetTypeInfoCount(Face*, UINT* count) {
  if (count == nullptr) return E_POINTER;
  *count = 1;
  return S_OK;
}

HRESULT STDMETHODCALLTYPE FaceGetTypeInfo(Face* face, UINT index, LCID, ITypeInfo** type) {
  if (type == nullptr) return E_POINTER;
  *type = nullptr;
  if (index != 0) return DISP_E_BADINDEX;
  *type = ComPtr<ITypeInfo>::Share(ReportObject::Of(face).interface_type()).Detach();
  return S_OK;
}

HRESULT STDMETHODCALLTYPE FaceGetIDsOfNames(Face* face, REFIID iid, LPOLESTR* names, UINT count,
                                            LCID, DISPID* ids) {
  if (iid != GUID{}) return DISP_E_UNKNOWNINTERFACE;
  if (names == nullptr || ids == nullptr || count == 0) return E_INVALIDARG;
  return ReportObject::Of(face).interface_type()->GetIDsOfNames(names, count, ids);
}

// `argument`, or the variant that it refers to: scripts pass their variables so.
VARIANT& Resolve(VARIANT& argument) {
  const bool refers =
      V_VT(&argument) == (VT_VARIANT | VT_BYREF) && V_VARIANTREF(&argument) != nullptr;
  return refers ? *V_VARIANTREF(&argument) : argument;
}

// The arguments of a call as the type library's dispatch is to have them. Methods take texts and
// objects by reference and leave them as they are, so they get references to the caller's own: of
// what comes by value the dispatch would make copies, and Wine's frees the original with them. The
// caller stays the owner.
std::vector<VARIANT> ArgumentsOf(const DISPPARAMS& parameters, WORD flags) {
  std::vector<VARIANT> arguments;
  for (UINT i = 0; i < parameters.cArgs; ++i) {
    VARIANT& held = Resolve(parameters.rgvarg[i]);
    VARIANT argument = held;
    const bool by_reference = (flags & DISPATCH_METHOD) != 0;
    if (by_reference && V_VT(&held) == VT_BSTR) {
      V_VT(&argument) = VT_BSTR | VT_BYREF;
      V_BSTRREF(&argument) = &V_BSTR(&held);
    } else if (by_reference && V_VT(&held) == VT_DISPATCH) {
      V_VT(&argument) = VT_DISPATCH | VT_BYREF;
      V_DISPATCHREF(&argument) = &V_DISPATCH(&held);
    }
    arguments.push_back(argument);
  }
  return arguments;
}

HRESULT STDMETHODCALLTYPE FaceInvoke(Face* face, DISPID id, REFIID iid, LCID, WORD flags,
                                     DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                                     UINT* wrong_argument) {
  if (iid != GUID{}) return DISP_E_UNKNOWNINTERFACE;
  if (parameters == nullptr) return E_INVALIDARG;
  return Guarded(face, [&](ReportObject& object) {
    std::vector<VARIANT> arguments = ArgumentsOf(*parameters, flags);
    DISPPARAMS resolved = *parameters;
    resolved.rgvarg = arguments.data();
    return object.interface_type()->Invoke(face, id, flags, &resolved, result, exception,
                                           wrong_argument);
  });
}

template <typename Function>
Entry ToEntry(Function function) noexcept {
  return reinterpret_cast<Entry>(function);
}

// The function table of a class, made when its first object is.
std::vector<Entry> MakeTable(const ClassInfo& info) {
  std::vector<Entry> table = DispatchEntries();
  for (const Member member : info.members) AppendEntries(member, table);
  return table;
}

const Entry* TableOf(const ClassInfo& info) {
  static const std::vector<std::vector<Entry>> tables = [] {
    std::vector<std::vector<Entry>> all;
    for (const ClassInfo& each : Classes()) all.push_back(MakeTable(each));
    return all;
  }();
  return tables[static_cast<std::size_t>(&info - Classes().data())].data();
}

}  // namespace

std::vector<Entry> DispatchEntries() {
  return {ToEntry(&FaceQueryInterface), ToEntry(&FaceAddRef),
          ToEntry(&FaceRelease),        ToEntry(&FaceGetTypeInfoCount),
          ToEntry(&FaceGetTypeInfo),    ToEntry(&FaceGetIDsOfNames),
          ToEntry(&FaceInvoke)};
}

ReportObject::ReportObject(const ClassInfo& info, const ClassTypes& types)
    : Face{TableOf(info)},
      interface_id_(types.interface_id),
      interface_type_(types.interface_type),
      provider_(info.factory(system_)) {}

HRESULT ReportObject::Create(const ClassInfo& info, const ClassTypes& types, REFIID iid,
                             void** result) {
  // References own the object; this one goes when the caller's has been added, or was refused.
  auto* const object = std::unique_ptr<ReportObject>(new ReportObject(info, types)).release();
  const HRESULT code = object->QueryInterface(iid, result);
  object->Release();
  return code;
}

HRESULT ReportObject::QueryInterface(REFIID iid, void** result) noexcept {
  if (result == nullptr) return E_POINTER;
  *result = nullptr;
  if (iid == IID_IUnknown || iid == IID_IDispatch || iid == interface_id_) {
    *result = static_cast<Face*>(this);
  } else if (iid == IID_ISupportErrorInfo) {
    *result = &error_support_;
  } else {
    return E_NOINTERFACE;
  }
  AddRef();
  return S_OK;
}

ULONG ReportObject::AddRef() noexcept {
  return static_cast<ULONG>(InterlockedIncrement(&references_));
}

ULONG ReportObject::Release() noexcept {
  const LONG left = InterlockedDecrement(&references_);
  if (left == 0) {
    // What it lets go of may lead the host here once more: that must not end it a second time.
    references_ = 1;
    std::unique_ptr<ReportObject>(this).reset();
  }
  return static_cast<ULONG>(left);
}

HRESULT ReportObject::ErrorSupport::QueryInterface(REFIID iid, void** result) {
  return object_.QueryInterface(iid, result);
}

ULONG ReportObject::ErrorSupport::AddRef() { return object_.AddRef(); }

ULONG ReportObject::ErrorSupport::Release() { return object_.Release(); }

HRESULT ReportObject::ErrorSupport::InterfaceSupportsErrorInfo(REFIID iid) {
  return iid == object_.interface_id() ? S_OK : S_FALSE;
}

}  // namespace ledgerwick::com
