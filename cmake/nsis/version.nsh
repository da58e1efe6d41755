; Version information of setup.exe, shown in its file properties.
VIProductVersion "${LA_VERSION4}"
VIFileVersion "${LA_VERSION4}"
VIAddVersionKey /LANG=1033 "ProductName" "${LA_PRODUCT_NAME}"
VIAddVersionKey /LANG=1033 "ProductVersion" "${LA_VERSION}"
VIAddVersionKey /LANG=1033 "FileVersion" "${LA_VERSION}"
VIAddVersionKey /LANG=1033 "FileDescription" "${LA_PRODUCT_NAME} Setup"
VIAddVersionKey /LANG=1033 "OriginalFilename" "setup.exe"
