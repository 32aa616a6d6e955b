#include "VelmoraCommon/detect/software/GMWowFsRedirectionHelper.h"

#include "VelmoraCommon/frame/internal/SystemFunction.h"
#include "VelmoraCommon/frame/internal/Wow64.h"

namespace Velmora
{

GMWowFsRedirectionHelper::GMWowFsRedirectionHelper()
    : m_disable(nullptr),
      m_revert(nullptr),
      m_oldValue(nullptr),
      m_isWow64(RunsUnderWow64())
{
    if (!m_isWow64)
        return;
    HMODULE const kernel = GetModuleHandleW(L"kernel32.dll");
    m_disable = FindExport<decltype(::Wow64DisableWow64FsRedirection)>(
        kernel, "Wow64DisableWow64FsRedirection");
    m_revert = FindExport<decltype(::Wow64RevertWow64FsRedirection)>(
        kernel, "Wow64RevertWow64FsRedirection");
    if (m_disable != nullptr)
        m_disable(&m_oldValue);
}

GMWowFsRedirectionHelper::~GMWowFsRedirectionHelper()
{
    if (m_isWow64 && m_revert != nullptr)
        m_revert(m_oldValue);
}

} // namespace Velmora
