#include "com/errors.h"

#include <new>

namespace ledgerwick::com {
namespace {

constexpr const char16_t* kSource = u"Ledgerwick";
constexpr std::int32_t kLargestNumber = 0xFFFF;
constexpr HRESULT kFirstLanguageCode = static_cast<HRESULT>(0x800A0000);

// The number of a language's error, or the code itself.
std::int32_t ToNumber(HRESULT result) noexcept {
  const HRESULT number = result - kFirstLanguageCode;
  return number > 0 && number <= kLargestNumber ? number : result;
}

// The platform's text for a code.
Text SystemText(HRESULT result) {
  wchar_t buffer[512];
  DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                static_cast<DWORD>(result), 0, buffer, 512, nullptr);
  while (length > 0 && (buffer[length - 1] == L'\n' || buffer[length - 1] == L'\r')) --length;
  if (length == 0) return u"Automation error";
  return {buffer, buffer + length};
}

// What Report leaves for a failure; the texts are null where there are none.
struct Description {
  const wchar_t* source;
  const wchar_t* text;
  const wchar_t* help_file;
  DWORD help_context;
};

HRESULT Report(HRESULT result, const Description& description, REFIID iid) noexcept {
  SetErrorInfo(0, nullptr);  // an older description is not this failure's
  ComPtr<ICreateErrorInfo> info;
  ComPtr<IErrorInfo> finished;
  if (FAILED(CreateErrorInfo(info.Receive()))) return result;
  // The setters copy; a text that does not fit into memory is left out.
  const auto writable = [](const wchar_t* text) { return const_cast<wchar_t*>(text); };
  info->SetGUID(iid);
  info->SetSource(writable(description.source));
  info->SetDescription(writable(description.text));
  if (description.help_file != nullptr) info->SetHelpFile(writable(description.help_file));
  info->SetHelpContext(description.help_context);
  if (SUCCEEDED(
          info->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(finished.Receive())))) {
    SetErrorInfo(0, finished.Get());
  }
  return result;
}

// Needs no memory of its own.
HRESULT Report(HRESULT result, const wchar_t* text, REFIID iid) noexcept {
  return Report(result, {L"Ledgerwick", text, nullptr, 0}, iid);
}

}  // namespace

DatabaseError OverflowError() { return {6, kSource, u"Overflow"}; }

DatabaseError InvalidUseOfNull() { return {94, kSource, u"Invalid use of Null"}; }

DatabaseError ObjectRequired() { return {424, kSource, u"Object required"}; }

DatabaseError CannotCreate(TextView prog_id) {
  return {429, kSource, u"ActiveX component can't create object: " + Text(prog_id)};
}

HRESULT ToResult(std::int32_t number) noexcept {
  if (number > 0 && number <= kLargestNumber) return kFirstLanguageCode + number;
  return number < 0 ? number : E_FAIL;
}

DatabaseError FromResult(HRESULT result) {
  switch (result) {
    case DISP_E_UNKNOWNNAME:
    case DISP_E_MEMBERNOTFOUND:
      return MemberNotFound();
    case DISP_E_TYPEMISMATCH:
    case DISP_E_BADVARTYPE:
      return TypeMismatch();
    case DISP_E_OVERFLOW:
      return OverflowError();
    default:
      return {ToNumber(result), kSource, SystemText(result)};
  }
}

DatabaseError FromException(EXCEPINFO& info) {
  if (info.pfnDeferredFillIn != nullptr) info.pfnDeferredFillIn(&info);
  std::int32_t number = info.wCode;
  if (number == 0) number = FAILED(info.scode) ? ToNumber(info.scode) : DISP_E_EXCEPTION;
  BString source;
  BString description;
  BString help_file;
  *source.Address() = info.bstrSource;
  *description.Address() = info.bstrDescription;
  *help_file.Address() = info.bstrHelpFile;
  const DWORD help_context = info.dwHelpContext;
  info = {};
  DatabaseError error(number, ToText(source.Get()), ToText(description.Get()));
  error.help_file = ToText(help_file.Get());
  error.help_context = help_context;
  return error;
}

void ThrowIfFailed(HRESULT result) {
  if (result == E_OUTOFMEMORY) throw std::bad_alloc();
  if (FAILED(result)) throw FromResult(result);
}

HRESULT ReportException(REFIID iid) noexcept {
  try {
    throw;
  } catch (const DatabaseError& error) {
    const wchar_t* const help = error.help_file.empty() ? nullptr : ToWide(error.help_file);
    return Report(ToResult(error.number),
                  {ToWide(error.source), ToWide(error.description), help, error.help_context}, iid);
  } catch (const std::bad_alloc&) {
    return Report(E_OUTOFMEMORY, L"Out of memory", iid);
  } catch (...) {
    // Nothing may leave the component as an exception: the caller may be written in any language.
    return Report(E_UNEXPECTED, L"Unexpected failure", iid);
  }
}

}  // namespace ledgerwick::com
