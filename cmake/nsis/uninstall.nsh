; Before the installed files go: the agent must not hold Launch.exe open.
!include "${__FILEDIR__}/stop-agent.nsh"
; The Run value only when it still names this installation's agent, so removing an old
; copy leaves another installation's autostart alone.
SetRegView 64
ReadRegStr $0 HKLM "Software\Microsoft\Windows\CurrentVersion\Run" "1"
StrCmp $0 "$INSTDIR\Launch.exe" 0 +2
  DeleteRegValue HKLM "Software\Microsoft\Windows\CurrentVersion\Run" "1"
nsExec::Exec '"$SYSDIR\netsh.exe" advfirewall firewall delete rule name="${LA_PRODUCT_NAME}"'
Pop $0
; The option files the agent wrote beside itself.
Delete "$INSTDIR\agent.dat"
Delete "$INSTDIR\AgentInfo_*"
