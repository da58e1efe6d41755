; Ends the running agent so its file can be replaced or removed. One agent runs per
; desktop (a second one ends at once), so ending every Launch.exe ends ours. The agent
; keeps its state in memory only, so nothing is lost; the Run value starts it again.
nsExec::Exec '"$SYSDIR\taskkill.exe" /F /IM Launch.exe'
Pop $0
StrCmp $0 "0" 0 +2
  Sleep 1000
