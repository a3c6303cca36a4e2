#pragma once

// What DirectShow is called through.

#include <windows.h>

#include <dshow.h>
#include <wrl/client.h>

/// Holds one interface and releases it.
template <typename Interface>
using Com = Microsoft::WRL::ComPtr<Interface>;

/// Asks an object for the interface of this identifier.
template <typename Interface>
[[nodiscard]] HRESULT ask(IUnknown &object, REFIID identifier, Com<Interface> &answer)
{
    return object.QueryInterface(identifier, reinterpret_cast<void **>(answer.ReleaseAndGetAddressOf()));
}
