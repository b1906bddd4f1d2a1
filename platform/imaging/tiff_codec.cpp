// TIFF through the Windows Imaging Component, which is looked for at run time:
// where a machine lacks it, TIFF files can't be read and all else works.

#include "imaging/codecs.h"

#include "base/win.h"

#include <objbase.h>
#include <wincodec.h>

namespace imaging {

namespace {

// COM for the length of one decoding. A thread that has COM in another mode
// already keeps that mode, which does as well.
class ComScope {
 public:
  ComScope() : result_(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}
  ComScope(const ComScope&) = delete;
  ComScope& operator=(const ComScope&) = delete;
  ~ComScope() {
    if (SUCCEEDED(result_)) CoUninitialize();
  }
  bool usable() const { return SUCCEEDED(result_) || result_ == RPC_E_CHANGED_MODE; }

 private:
  HRESULT result_;
};

// Owner of one reference.
template <class Interface>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(const ComPtr&) = delete;
  ComPtr& operator=(const ComPtr&) = delete;
  ~ComPtr() {
    if (object_) object_->Release();
  }
  Interface* operator->() const { return object_; }
  Interface* get() const { return object_; }
  // For a call that hands out a reference.
  Interface** put() { return &object_; }
  void** put_void() { return reinterpret_cast<void**>(&object_); }

 private:
  Interface* object_ = nullptr;
};

bool OpenFirstPage(IWICImagingFactory* factory, Bytes file, IWICBitmapFrameDecode** page) {
  ComPtr<IWICStream> stream;
  ComPtr<IWICBitmapDecoder> decoder;
  // The stream only reads; its interface has no way to say so.
  BYTE* const data = const_cast<BYTE*>(file.data());
  return SUCCEEDED(factory->CreateStream(stream.put())) &&
         SUCCEEDED(stream->InitializeFromMemory(data, static_cast<DWORD>(file.size()))) &&
         SUCCEEDED(factory->CreateDecoderFromStream(
             stream.get(), nullptr, WICDecodeMetadataCacheOnDemand, decoder.put())) &&
         SUCCEEDED(decoder->GetFrame(0, page));
}

bool CopyPixels(IWICImagingFactory* factory, IWICBitmapFrameDecode* page, Picture& picture) {
  UINT width = 0, height = 0;
  ComPtr<IWICFormatConverter> converter;
  if (FAILED(page->GetSize(&width, &height)) || !picture.Create(width, height)) return false;
  const UINT stride = static_cast<UINT>(picture.row_bytes());
  if (FAILED(factory->CreateFormatConverter(converter.put())) ||
      FAILED(converter->Initialize(page, GUID_WICPixelFormat32bppBGRA, WICBitmapDitherTypeNone,
                                   nullptr, 0, WICBitmapPaletteTypeCustom)) ||
      FAILED(converter->CopyPixels(nullptr, stride, stride * height, picture.bits())))
    return false;
  CompositeOnBlack(picture.bits(), static_cast<std::size_t>(width) * height);
  return true;
}

}  // namespace

bool DecodeTiff(Bytes file, Picture& picture) {
  const ComScope com;
  ComPtr<IWICImagingFactory> factory;
  ComPtr<IWICBitmapFrameDecode> page;
  return com.usable() &&
         SUCCEEDED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                    IID_IWICImagingFactory, factory.put_void())) &&
         OpenFirstPage(factory.get(), file, page.put()) &&
         CopyPixels(factory.get(), page.get(), picture);
}

}  // namespace imaging
