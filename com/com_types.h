// Owners of what COM hands out: interface pointers, strings and variants.
#pragma once

#include <windows.h>
// windows.h comes first: the headers of OLE need it.
#include <oleauto.h>
// COM's interfaces have no destructor on purpose: an object deletes itself in Release.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
// A macro of windows.h would rename the member of System.
#undef MessageBox

#include <utility>

#include "frame/text.h"

namespace ledgerwick::com {

// A counted reference to an interface, or none.
template <typename T>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(const ComPtr& other) noexcept : pointer_(other.pointer_) { AddRef(); }
  ComPtr(ComPtr&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
  ~ComPtr() { Reset(); }
  ComPtr& operator=(ComPtr other) noexcept {
    std::swap(pointer_, other.pointer_);
    return *this;
  }

  // A further reference to what `pointer` refers to; the caller keeps its own.
  static ComPtr Share(T* pointer) noexcept {
    ComPtr shared;
    shared.pointer_ = pointer;
    shared.AddRef();
    return shared;
  }

  // Where a function that returns a reference writes it; what was held is released first.
  T** Receive() noexcept {
    Reset();
    return &pointer_;
  }

  void Reset() noexcept {
    if (T* const old = std::exchange(pointer_, nullptr)) old->Release();
  }

  T* Get() const noexcept { return pointer_; }

  // Hands the reference over to the caller, who releases it.
  [[nodiscard]] T* Detach() noexcept { return std::exchange(pointer_, nullptr); }

  T* operator->() const noexcept { return pointer_; }
  explicit operator bool() const noexcept { return pointer_ != nullptr; }

 private:
  void AddRef() noexcept {
    if (pointer_ != nullptr) pointer_->AddRef();
  }

  T* pointer_ = nullptr;
};

// A string of the automation allocator; null where there is none, which reads as empty.
class BString {
 public:
  BString() = default;
  explicit BString(TextView text);
  BString(const BString&) = delete;
  BString& operator=(const BString&) = delete;
  ~BString() { SysFreeString(string_); }

  BSTR Get() const noexcept { return string_; }

  // Where a function that returns a string writes it, or by-reference arguments point; hold nothing
  // when calling for the former.
  BSTR* Address() noexcept { return &string_; }

  // Hands the string over to the caller, who frees it.
  [[nodiscard]] BSTR Detach() noexcept { return std::exchange(string_, nullptr); }

 private:
  BSTR string_ = nullptr;
};

// A variant that clears itself.
class Variant {
 public:
  Variant() noexcept { VariantInit(&variant_); }
  Variant(const Variant& other);
  Variant(Variant&& other) noexcept : variant_(other.variant_) { VariantInit(&other.variant_); }
  Variant& operator=(Variant other) noexcept {
    std::swap(variant_, other.variant_);
    return *this;
  }
  ~Variant() { VariantClear(&variant_); }

  static Variant OfInteger(std::int32_t value) noexcept;
  static Variant OfText(TextView text);
  static Variant OfObject(IDispatch* object) noexcept;  // takes a reference of its own

  // Refer to what the caller owns and keeps longer than the variant.
  static Variant ByReference(BSTR* string) noexcept;
  static Variant ByReference(VARIANT* variant) noexcept;

  // The way in which an argument is left out.
  static Variant Missing() noexcept;

  VARIANT* Get() noexcept { return &variant_; }
  const VARIANT* Get() const noexcept { return &variant_; }

  // Hands the contents over to the caller, who clears them.
  [[nodiscard]] VARIANT Detach() noexcept;

 private:
  VARIANT variant_;
};

// The text of `string`, which may be null.
Text ToText(BSTR string);

// `text` as the platform's functions take it; valid as long as the text is unchanged.
const wchar_t* ToWide(const Text& text) noexcept;

// The platform's own text as Text.
Text FromWide(const wchar_t* text);

}  // namespace ledgerwick::com
