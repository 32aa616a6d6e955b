#include "VelmoraCommon/detect/software/GMMSIProductDetect.h"

#include <algorithm>
#include <utility>

#include "VelmoraCommon/registry/GMRegFile.h"

namespace Velmora
{

namespace
{

constexpr wchar_t machineProducts[] = L"Installer\\Products";
constexpr wchar_t userProducts[] = L"Software\\Microsoft\\Installer\\Products";

/// Lists the keys of the products below \p path; what was listed before a failure stays.
bool ListProducts(HKEY root, wchar_t const * path, std::vector<GMString> & keys)
{
    GMRegFile file;
    std::vector<GMString> valueNames;
    return file.OpenKey(root, path, KEY_QUERY_VALUE | KEY_ENUMERATE_SUB_KEYS, false) &&
           file.EnumKeyValueName(keys, valueNames);
}

GMMSIProductDetect::GMProductInfo ReadProduct(HKEY root, GMString const & path)
{
    GMMSIProductDetect::GMProductInfo product(GMString(), 0, 0);
    GMRegFile file;
    if (file.OpenKey(root, path, KEY_QUERY_VALUE, false))
    {
        file.GetValue(L"ProductName", product.m_name); // each empty or 0 on failure
        file.GetValue(L"Version", product.m_version);
        file.GetValue(L"Language", product.m_language);
    }
    return product;
}

} // namespace

GMMSIProductDetect::GMMSIProductDetect() = default;
GMMSIProductDetect::~GMMSIProductDetect() = default;

void GMMSIProductDetect::LoadProductList()
{
    std::vector<GMString> ofMachine;
    std::vector<GMString> ofUser;
    if (!ListProducts(HKEY_CLASSES_ROOT, machineProducts, ofMachine))
        return;
    ListProducts(HKEY_CURRENT_USER, userProducts, ofUser);

    std::vector<GMProductInfo> products;
    products.reserve(ofMachine.size() + ofUser.size());
    for (GMString const & key : ofMachine)
        products.push_back(ReadProduct(HKEY_CLASSES_ROOT, machineProducts + (L'\\' + key)));
    for (GMString const & key : ofUser)
        products.push_back(ReadProduct(HKEY_CURRENT_USER, userProducts + (L'\\' + key)));
    m_products = std::move(products);
}

bool GMMSIProductDetect::DetectProduct(GMProductInfo & info)
{
    return std::any_of(m_products.begin(), m_products.end(),
                       [&info](GMProductInfo const & product)
                       {
                           return product.m_name == info.m_name &&
                                  (info.m_language == 0 || info.m_language == product.m_language) &&
                                  (info.m_version == 0 || info.m_version == product.m_version);
                       });
}

} // namespace Velmora
