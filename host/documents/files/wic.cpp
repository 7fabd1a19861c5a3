// See wic.h. COM is begun and ended with each call, so that any thread may make one.

#include "host/documents/files/wic.h"

#define INITGUID
#include <windows.h>

#include <wincodec.h>

#include <algorithm>
#include <cstring>

static const size_t BAND_BYTES = 256 * 1024;   // of rows handed over at once

//---- COM

// A thread takes part in COM for as long as one of these lives.
struct ComSession {
    const bool begun = SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED));   // not when it does so already
    ~ComSession()
    {
        if (begun) CoUninitialize();
    }
};

template <typename Interface> struct Com {
    Interface *held = nullptr;

    Com() = default;
    Com(const Com &) = delete;
    Com &operator=(const Com &) = delete;
    ~Com()
    {
        if (held) held->Release();
    }
    Interface **operator&() { return &held; }
    Interface *operator->() const { return held; }
    explicit operator bool() const { return held != nullptr; }
};

// Keeps the first result that is a failure.
struct Steps {
    HRESULT result = S_OK;
    bool operator()(HRESULT step)
    {
        if (SUCCEEDED(result)) result = step;
        return SUCCEEDED(step);
    }
};

static bool Failed(std::string &problem, HRESULT result)
{
    char code[32];
    snprintf(code, sizeof code, "error 0x%08lX", static_cast<unsigned long>(result));
    problem = code;
    return false;
}

static bool MakeFactory(Com<IWICImagingFactory> &factory, Steps &steps)
{
    return steps(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                                  reinterpret_cast<void **>(&factory)));
}

static const GUID &GuidOf(WicContainer container)
{
    switch (container) {
    case WicContainer::PNG: return GUID_ContainerFormatPng;
    case WicContainer::TIFF: return GUID_ContainerFormatTiff;
    default: return GUID_ContainerFormatJpeg;
    }
}

//---- Kinds of pixels

struct PixelKind {
    WicPixels pixels;
    int bits;
    const GUID *guid, *alike;   // the second has the same rows and is taken as they are
};
static const PixelKind kinds[] = {
    {WicPixels::PACKED1, 1, &GUID_WICPixelFormatBlackWhite, &GUID_WICPixelFormat1bppIndexed},
    {WicPixels::PACKED2, 2, &GUID_WICPixelFormat2bppGray, &GUID_WICPixelFormat2bppIndexed},
    {WicPixels::PACKED4, 4, &GUID_WICPixelFormat4bppGray, &GUID_WICPixelFormat4bppIndexed},
    {WicPixels::PACKED8, 8, &GUID_WICPixelFormat8bppGray, &GUID_WICPixelFormat8bppIndexed},
    {WicPixels::GREY16, 16, &GUID_WICPixelFormat16bppGray, nullptr},
    {WicPixels::BGR24, 24, &GUID_WICPixelFormat24bppBGR, nullptr},
    {WicPixels::BGRA32, 32, &GUID_WICPixelFormat32bppBGRA, nullptr},
    {WicPixels::RGB48, 48, &GUID_WICPixelFormat48bppRGB, nullptr},
    {WicPixels::RGBA64, 64, &GUID_WICPixelFormat64bppRGBA, nullptr},
    {WicPixels::CMYK32, 32, &GUID_WICPixelFormat32bppCMYK, nullptr},
};

static const PixelKind &KindOf(WicPixels pixels)
{
    return *std::find_if(std::begin(kinds), std::end(kinds),
                         [=](const PixelKind &kind) { return kind.pixels == pixels; });
}

int BitsOf(WicPixels pixels) { return KindOf(pixels).bits; }

static size_t RowBytes(const WicPicture &picture)
{
    return (size_t(picture.width) * size_t(BitsOf(picture.pixels)) + 7) / 8;
}

// Rows of a band; at least one.
static uint32_t BandRows(const WicPicture &picture)
{
    return uint32_t(std::clamp<size_t>(BAND_BYTES / RowBytes(picture), 1, picture.height));
}

//---- Unpacking

// Leads to the first picture of a file. The file's bytes stay in use.
static bool OpenFrame(IWICImagingFactory *factory, WicContainer container, const Bytes &file,
                      Com<IWICBitmapFrameDecode> &frame, Steps &steps)
{
    Com<IWICStream> stream;
    Com<IWICBitmapDecoder> decoder;
    return steps(factory->CreateStream(&stream)) &&
           steps(stream->InitializeFromMemory(const_cast<BYTE *>(file.data()), DWORD(file.size()))) &&
           steps(factory->CreateDecoder(GuidOf(container), nullptr, &decoder)) &&
           steps(decoder->Initialize(stream.held, WICDecodeMetadataCacheOnDemand)) &&
           steps(decoder->GetFrame(0, &frame));
}

// The frame itself, or a converter before it.
static bool InKind(IWICImagingFactory *factory, IWICBitmapFrameDecode *frame, const PixelKind &kind,
                   Com<IWICBitmapSource> &source, Steps &steps)
{
    GUID format = {};
    if (!steps(frame->GetPixelFormat(&format))) return false;
    if (format == *kind.guid || (kind.alike && format == *kind.alike)) {
        return steps(frame->QueryInterface(IID_IWICBitmapSource, reinterpret_cast<void **>(&source)));
    }
    Com<IWICFormatConverter> converter;
    return steps(factory->CreateFormatConverter(&converter)) &&
           steps(converter->Initialize(frame, *kind.guid, WICBitmapDitherTypeNone, nullptr, 0,
                                       WICBitmapPaletteTypeCustom)) &&
           steps(converter->QueryInterface(IID_IWICBitmapSource, reinterpret_cast<void **>(&source)));
}

static bool TakeRows(const WicPicture &picture, IWICBitmapSource *source, const TakesRow &takesRow, Steps &steps)
{
    const size_t stride = RowBytes(picture);
    const uint32_t bandRows = BandRows(picture);
    Bytes band(stride * bandRows);
    for (uint32_t top = 0; top < picture.height; top += bandRows) {
        const uint32_t rows = std::min(bandRows, picture.height - top);
        const WICRect area = {0, INT(top), INT(picture.width), INT(rows)};
        if (!steps(source->CopyPixels(&area, UINT(stride), UINT(stride * rows), band.data()))) return false;
        for (uint32_t i = 0; i < rows; ++i) takesRow(top + i, band.data() + stride * i);
    }
    return true;
}

bool WicUnpack(const WicPicture &picture, const Bytes &file, const TakesRow &takesRow, std::string &problem)
{
    const ComSession session;
    Steps steps;
    Com<IWICImagingFactory> factory;
    Com<IWICBitmapFrameDecode> frame;
    Com<IWICBitmapSource> source;
    UINT width = 0, height = 0;
    if (!MakeFactory(factory, steps) || !OpenFrame(factory.held, picture.container, file, frame, steps) ||
        !steps(frame->GetSize(&width, &height))) {
        return Failed(problem, steps.result);
    }
    if (width != picture.width || height != picture.height) {
        problem = "its sizes disagree";
        return false;
    }
    return (InKind(factory.held, frame.held, KindOf(picture.pixels), source, steps) &&
            TakeRows(picture, source.held, takesRow, steps)) ||
           Failed(problem, steps.result);
}

//---- Packing

static bool WriteOptions(IPropertyBag2 *bag, const std::vector<WicOption> &options, Steps &steps)
{
    ULONG known = 0, found = 0;
    if (!steps(bag->CountProperties(&known))) return false;
    std::vector<PROPBAG2> all(known);
    if (known && !steps(bag->GetPropertyInfo(0, known, all.data(), &found))) return false;
    bool written = true;
    for (PROPBAG2 &property : all) {
        for (const WicOption &option : options) {
            if (wcscmp(property.pstrName, option.name) != 0) continue;
            VARIANT value = {};
            value.vt = option.isNumber ? VT_R4 : VT_UI1;
            if (option.isNumber) value.fltVal = option.number;
            else value.bVal = option.choice;
            PROPBAG2 named = {};
            named.pstrName = property.pstrName;
            written = written && steps(bag->Write(1, &named, &value));
        }
        CoTaskMemFree(property.pstrName);
    }
    return written;
}

static bool WriteRows(const WicPicture &picture, IWICBitmapFrameEncode *frame, const FillsRow &fillsRow, Steps &steps)
{
    const size_t stride = RowBytes(picture);
    const uint32_t bandRows = BandRows(picture);
    Bytes band(stride * bandRows);
    for (uint32_t top = 0; top < picture.height; top += bandRows) {
        const uint32_t rows = std::min(bandRows, picture.height - top);
        for (uint32_t i = 0; i < rows; ++i) fillsRow(top + i, band.data() + stride * i);
        if (!steps(frame->WritePixels(rows, UINT(stride), UINT(stride * rows), band.data()))) return false;
    }
    return true;
}

// The component answers a pixel format that it cannot store with one that it can, and success.
static bool SetPixels(IWICBitmapFrameEncode *frame, const PixelKind &kind, Steps &steps)
{
    GUID format = *kind.guid;
    return steps(frame->SetPixelFormat(&format)) && steps(format == *kind.guid ? S_OK : E_INVALIDARG);
}

static bool TakeBytes(IStream *stream, Bytes &file, Steps &steps)
{
    HGLOBAL memory = nullptr;
    STATSTG status = {};
    if (!steps(stream->Stat(&status, STATFLAG_NONAME)) || !steps(GetHGlobalFromStream(stream, &memory))) return false;
    const void *bytes = GlobalLock(memory);
    if (!steps(bytes ? S_OK : E_OUTOFMEMORY)) return false;
    file.clear();
    AddBytes(file, bytes, size_t(status.cbSize.QuadPart));
    GlobalUnlock(memory);
    return true;
}

bool WicPack(const WicPicture &picture, const std::vector<WicOption> &options, const FillsRow &fillsRow, Bytes &file,
             std::string &problem)
{
    const ComSession session;
    Steps steps;
    Com<IWICImagingFactory> factory;
    Com<IStream> stream;
    Com<IWICBitmapEncoder> encoder;
    Com<IWICBitmapFrameEncode> frame;
    Com<IPropertyBag2> bag;
    const bool done =
        MakeFactory(factory, steps) && steps(CreateStreamOnHGlobal(nullptr, TRUE, &stream)) &&
        steps(factory->CreateEncoder(GuidOf(picture.container), nullptr, &encoder)) &&
        steps(encoder->Initialize(stream.held, WICBitmapEncoderNoCache)) &&
        steps(encoder->CreateNewFrame(&frame, &bag)) && (!bag || WriteOptions(bag.held, options, steps)) &&
        steps(frame->Initialize(bag.held)) && steps(frame->SetSize(picture.width, picture.height)) &&
        SetPixels(frame.held, KindOf(picture.pixels), steps) && WriteRows(picture, frame.held, fillsRow, steps) &&
        steps(frame->Commit()) && steps(encoder->Commit()) && TakeBytes(stream.held, file, steps);
    return done || Failed(problem, steps.result);
}
