// TIFF through the Windows Imaging Component, which is looked for at run time:
// where a machine lacks it, TIFF files can't be read and all else works.

#include "imaging/codecs.h"

#include "base/ComRef.h"
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

bool OpenFirstPage(IWICImagingFactory* factory, Bytes file, IWICBitmapFrameDecode** page) {
  ComRef<IWICStream> stream;
  ComRef<IWICBitmapDecoder> decoder;
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
  ComRef<IWICFormatConverter> converter;
  if (FAILED(page->GetSize(&width, &height)) || !picture.Create(width, height)) return false;
  const UINT stride = static_cast<UINT>(picture.rowBytes());
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
  ComRef<IWICImagingFactory> factory;
  ComRef<IWICBitmapFrameDecode> page;
  return com.usable() &&
         SUCCEEDED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                    IID_IWICImagingFactory, factory.put_void())) &&
         OpenFirstPage(factory.get(), file, page.put()) &&
         CopyPixels(factory.get(), page.get(), picture);
}

}  // namespace imaging
