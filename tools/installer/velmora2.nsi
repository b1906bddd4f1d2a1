; The installer: copies the install folder, puts the saver where Windows looks for
; savers, and can take all of it away again.
;
;   Velmora2-Setup.exe            asks
;   Velmora2-Setup.exe /S         asks nothing; /D=C:\folder, last and unquoted, names the folder
;   uninst.exe /S                 asks nothing either
;
; The exit status is 2 if the saver runs and nobody can be asked to end it, or if a
; file can't be written.
;
; The build gives DIST, the install folder; ART, the folder of the pictures; ICON;
; VERSION and VERSION_NUMBERS; OUTPUT.

Unicode false  ; such an installer runs on every Windows that the saver runs on
!define PRODUCT "Velmora 2"
!define MAKER_KEY "Software\Tarnwick"
!define SAVERS_KEY "${MAKER_KEY}\TarnwickSaver"
!define SETTINGS_KEY "${SAVERS_KEY}\Velmora2"
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\${PRODUCT}"
!define DESKTOP_KEY "Control Panel\Desktop"
!define BUNDLE_SIZE "BundleSize"  ; of the pictures that we installed, in UNINSTALL_KEY

!include FileFunc.nsh
!include LogicLib.nsh
!include MUI2.nsh

Name "${PRODUCT}"
OutFile "${OUTPUT}"
BrandingText "${PRODUCT} ${VERSION}"
RequestExecutionLevel admin
InstallDir "$PROGRAMFILES\${PRODUCT}"
InstallDirRegKey HKLM "${UNINSTALL_KEY}" "InstallLocation"
SetCompressor lzma

VIProductVersion "${VERSION_NUMBERS}"
VIAddVersionKey "ProductName" "${PRODUCT}"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "FileDescription" "${PRODUCT} installer"
VIAddVersionKey "LegalCopyright" ""

!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_WELCOMEFINISHPAGE_BITMAP "${ART}/side.bmp"
!define MUI_UNWELCOMEFINISHPAGE_BITMAP "${ART}/side.bmp"
!define MUI_HEADERIMAGE
!define MUI_HEADERIMAGE_RIGHT
!define MUI_HEADERIMAGE_BITMAP "${ART}/head.bmp"
!define MUI_ABORTWARNING
!define MUI_WELCOMEPAGE_TEXT "Velmora 2 shows large pictures on your screen when nobody works at it: they zoom slowly, fade into one another, and four quiet pieces of music go with them.$\r$\n$\r$\n$_CLICK"
!define MUI_FINISHPAGE_RUN
!define MUI_FINISHPAGE_RUN_TEXT "Make it my screen saver and open its settings"
!define MUI_FINISHPAGE_RUN_FUNCTION ChooseAsSaver
!insertmacro MUI_PAGE_WELCOME
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

; Both programs are made of the same functions; those of the uninstaller are called un.*.

; Jumps to the label `busy` if the program can't be written because it runs.
!macro BusyIfRunning program busy
  ${If} ${FileExists} "${program}"
    ClearErrors
    FileOpen $0 "${program}" a
    IfErrors ${busy}
    FileClose $0
  ${EndIf}
!macroend

; Waits until no program of ours runs, or ends if the user gives up.
!macro WaitForPrograms un
Function ${un}WaitForPrograms
  again:
  !insertmacro BusyIfRunning "$INSTDIR\Velmora2.scr" busy
  !insertmacro BusyIfRunning "$INSTDIR\Velmora2.exe" busy
  !insertmacro BusyIfRunning "$INSTDIR\ReportErr.exe" busy
  !insertmacro BusyIfRunning "$INSTDIR\MakeBundle.exe" busy
  !insertmacro BusyIfRunning "$WINDIR\Velmora2.scr" busy
  Return
  busy:
  MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "${PRODUCT} is running. Please close it, then try again." /SD IDCANCEL IDRETRY again
  SetErrorLevel 2
  Quit
FunctionEnd
!macroend
!insertmacro WaitForPrograms ""
!insertmacro WaitForPrograms "un."

; Leaves in $0 whether images.bdl is there and is another one than we installed.
!macro HasOwnPictures un
Function ${un}HasOwnPictures
  StrCpy $0 0
  ${If} ${FileExists} "$INSTDIR\images.bdl"
    FileOpen $1 "$INSTDIR\images.bdl" r
    FileSeek $1 0 END $2
    FileClose $1
    ReadRegDWORD $3 HKLM "${UNINSTALL_KEY}" "${BUNDLE_SIZE}"
    ${If} $2 != $3
      StrCpy $0 1
    ${EndIf}
  ${EndIf}
FunctionEnd
!macroend
!insertmacro HasOwnPictures ""
!insertmacro HasOwnPictures "un."

; The user's pictures go aside, under the first name that is free.
Function KeepOwnPictures
  Call HasOwnPictures
  ${If} $0 = 1
    StrCpy $1 1
    ${While} ${FileExists} "$INSTDIR\images kept $1.bdl"
      IntOp $1 $1 + 1
    ${EndWhile}
    Rename "$INSTDIR\images.bdl" "$INSTDIR\images kept $1.bdl"
    DetailPrint "Your pictures are kept: images kept $1.bdl"
  ${EndIf}
FunctionEnd

Section "${PRODUCT}"
  Call WaitForPrograms
  Call KeepOwnPictures
  SetShellVarContext all

  ClearErrors  ; without a user to ask, a file that can't be written only leaves this mark
  SetOutPath "$INSTDIR"
  File "${DIST}/Velmora2.scr"
  File "${DIST}/Velmora2.exe"
  File "${DIST}/BTNexgenIPL32.dll"
  File "${DIST}/fmod.dll"
  File "${DIST}/ReportErr.exe"
  File "${DIST}/MakeBundle.exe"
  File "${DIST}/VELMORA2.HLP"
  File "${DIST}/chk.sum"
  SetCompress off  ; pictures and music are
  File "${DIST}/images.bdl"
  SetCompress auto
  SetOutPath "$INSTDIR\licences"
  File "${DIST}/licences\*.txt"
  ; Windows lists the savers of its own folder; the check after a crash wants this one, too.
  SetOutPath "$WINDIR"
  File "${DIST}/Velmora2.scr"
  StrCpy $8 0
  ${If} ${Errors}
    StrCpy $8 1
  ${EndIf}
  SetOutPath "$INSTDIR"

  CreateDirectory "$SMPROGRAMS\${PRODUCT}"
  CreateShortcut "$SMPROGRAMS\${PRODUCT}\${PRODUCT}.lnk" "$INSTDIR\Velmora2.scr" "/s" "$INSTDIR\Velmora2.exe"
  CreateShortcut "$SMPROGRAMS\${PRODUCT}\Settings.lnk" "$INSTDIR\Velmora2.exe"
  CreateShortcut "$SMPROGRAMS\${PRODUCT}\Uninstall.lnk" "$INSTDIR\uninst.exe"

  Call RegisterUninstaller
  ${If} $8 = 1
    MessageBox MB_ICONSTOP "Not all files of ${PRODUCT} could be written. Please install it again." /SD IDOK
    Abort
  ${EndIf}
  ; Every user may add the folder of his data to a list; only full rights can open it for that.
  ExecWait '"$INSTDIR\Velmora2.exe" initialsecurity'
SectionEnd

Function RegisterUninstaller
  WriteUninstaller "$INSTDIR\uninst.exe"
  FileOpen $0 "$INSTDIR\images.bdl" r
  FileSeek $0 0 END $1
  FileClose $0
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "${BUNDLE_SIZE}" $1
  ${GetSize} "$INSTDIR" "/S=0K" $0 $1 $2
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "EstimatedSize" $0
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayName" "${PRODUCT}"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\Velmora2.exe"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "Publisher" "Tarnwick"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninst.exe"'
  WriteRegStr HKLM "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninst.exe" /S'
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "NoRepair" 1
FunctionEnd

; Windows' own window, with the saver chosen, and ours.
Function ChooseAsSaver
  Exec '"$INSTDIR\Velmora2.scr" /z'
FunctionEnd

; A saver that is gone would be looked for each time that the user rests.
Function un.LeaveAsSaver
  ReadRegStr $0 HKCU "${DESKTOP_KEY}" "SCRNSAVE.EXE"
  GetFullPathName /SHORT $1 "$INSTDIR\Velmora2.scr"
  GetFullPathName /SHORT $2 "$WINDIR\Velmora2.scr"
  ${If} $0 == "$INSTDIR\Velmora2.scr"
  ${OrIf} $0 == $1
  ${OrIf} $0 == "$WINDIR\Velmora2.scr"
  ${OrIf} $0 == $2
    DeleteRegValue HKCU "${DESKTOP_KEY}" "SCRNSAVE.EXE"
  ${EndIf}
FunctionEnd

Section "Uninstall"
  Call un.WaitForPrograms
  SetShellVarContext all
  Call un.LeaveAsSaver
  ExecWait '"$INSTDIR\Velmora2.exe" uninstall'  ; all users' logs, lists and wallpapers
  DeleteRegKey HKCU "${SETTINGS_KEY}"
  DeleteRegKey /ifempty HKCU "${SAVERS_KEY}"
  DeleteRegKey /ifempty HKCU "${MAKER_KEY}"
  DeleteRegKey /ifempty HKLM "${SETTINGS_KEY}"
  DeleteRegKey /ifempty HKLM "${SAVERS_KEY}"
  DeleteRegKey /ifempty HKLM "${MAKER_KEY}"

  Delete "$SMPROGRAMS\${PRODUCT}\${PRODUCT}.lnk"
  Delete "$SMPROGRAMS\${PRODUCT}\Settings.lnk"
  Delete "$SMPROGRAMS\${PRODUCT}\Uninstall.lnk"
  RMDir "$SMPROGRAMS\${PRODUCT}"

  Call un.HasOwnPictures
  ${If} $0 = 0
    Delete "$INSTDIR\images.bdl"
  ${EndIf}
  Delete "$WINDIR\Velmora2.scr"
  Delete "$INSTDIR\Velmora2.scr"
  Delete "$INSTDIR\Velmora2.exe"
  Delete "$INSTDIR\BTNexgenIPL32.dll"
  Delete "$INSTDIR\fmod.dll"
  Delete "$INSTDIR\ReportErr.exe"
  Delete "$INSTDIR\MakeBundle.exe"
  Delete "$INSTDIR\VELMORA2.HLP"
  Delete "$INSTDIR\chk.sum"
  Delete "$INSTDIR\licences\*.txt"
  Delete "$INSTDIR\uninst.exe"
  RMDir "$INSTDIR\licences"
  RMDir "$INSTDIR"  ; stays if anything of the user's is in it
  DeleteRegKey HKLM "${UNINSTALL_KEY}"
SectionEnd
