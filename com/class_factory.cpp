#include "com/class_factory.h"

#include <memory>

#include "com/errors.h"
#include "com/report_object.h"

namespace ledgerwick::com {
namespace {

class ClassFactory final : public IClassFactory {
 public:
  ClassFactory(const ClassInfo& info, ClassTypes types) : info_(info), types_(std::move(types)) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** result) override {
    if (result == nullptr) return E_POINTER;
    const bool known = iid == IID_IUnknown || iid == IID_IClassFactory;
    *result = known ? this : nullptr;
    if (!known) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }

  ULONG STDMETHODCALLTYPE AddRef() override {
    return static_cast<ULONG>(InterlockedIncrement(&references_));
  }

  ULONG STDMETHODCALLTYPE Release() override {
    const LONG left = InterlockedDecrement(&references_);
    if (left == 0) std::unique_ptr<ClassFactory>(this).reset();
    return static_cast<ULONG>(left);
  }

  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** result) override {
    if (result == nullptr) return E_POINTER;
    *result = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    try {
      return ReportObject::Create(info_, types_, iid, result);
    } catch (...) {
      return ReportException(IID_IClassFactory);
    }
  }

  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
    lock ? LockModule() : UnlockModule();
    return S_OK;
  }

 private:
  ModuleLock keep_loaded_;
  LONG references_ = 1;
  const ClassInfo& info_;
  const ClassTypes types_;
};

}  // namespace

HRESULT GetClassObject(REFCLSID class_id, REFIID iid, void** result) noexcept {
  if (result == nullptr) return E_POINTER;
  *result = nullptr;
  try {
    ComPtr<ITypeInfo> coclass;
    if (FAILED(TypeLibrary()->GetTypeInfoOfGuid(class_id, coclass.Receive()))) {
      return CLASS_E_CLASSNOTAVAILABLE;
    }
    TYPEATTR* attributes = nullptr;
    ThrowIfFailed(coclass->GetTypeAttr(&attributes));
    const bool is_class = attributes->typekind == TKIND_COCLASS;
    coclass->ReleaseTypeAttr(attributes);
    if (!is_class) return CLASS_E_CLASSNOTAVAILABLE;
    ClassTypes types = ReadClass(*coclass.Get());
    const ClassInfo* const info = FindClass(types.name);
    if (info == nullptr || info->factory == nullptr) return CLASS_E_CLASSNOTAVAILABLE;
    auto* const factory = std::make_unique<ClassFactory>(*info, std::move(types)).release();
    const HRESULT code = factory->QueryInterface(iid, result);
    factory->Release();
    return code;
  } catch (...) {
    return ReportException(IID_IClassFactory);
  }
}

}  // namespace ledgerwick::com
