; After the files are in place, elevated. The agent writes the same Run value at every
; start, but on a desktop without administrator rights its write is denied, so the
; installer writes it for autostart to hold.
SetRegView 64
WriteRegStr HKLM "Software\Microsoft\Windows\CurrentVersion\Run" "1" "$INSTDIR\Launch.exe"
; Other computers must reach the listener (TCP 1230) without the firewall asking the
; user at the first start. Deleting first keeps one rule after a reinstall.
nsExec::Exec '"$SYSDIR\netsh.exe" advfirewall firewall delete rule name="${LA_PRODUCT_NAME}"'
Pop $0
nsExec::Exec '"$SYSDIR\netsh.exe" advfirewall firewall add rule name="${LA_PRODUCT_NAME}" dir=in action=allow program="$INSTDIR\Launch.exe" protocol=TCP localport=1230 profile=private,domain'
Pop $0
Exec '"$INSTDIR\Launch.exe"'
