; The installer: for the user who runs it, without an administrator's rights. scripts/make-windows passes VERSION,
; STAGE (the folder of the files), KILOBYTES (their size), REMOVALS (a file of the commands that remove each of them),
; ICON and OUT (the installer's name).
Unicode true
Target amd64-unicode
SetCompressor /SOLID lzma
RequestExecutionLevel user
Name "Таврин"
OutFile "${OUT}"
InstallDir "$LOCALAPPDATA\Programs\Tavrin"
BrandingText "Таврин ${VERSION}"

!include MUI2.nsh
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Tavrin"
InstallDirRegKey HKCU "${UNINSTALL_KEY}" "InstallLocation"
!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_FINISHPAGE_RUN "$INSTDIR\Tavrin.exe"
!insertmacro MUI_PAGE_LICENSE "${STAGE}\LICENSE.txt"
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "Russian"

VIProductVersion "${VERSION}.0.0"
VIAddVersionKey /LANG=${LANG_RUSSIAN} "ProductName" "Таврин"
VIAddVersionKey /LANG=${LANG_RUSSIAN} "FileDescription" "Установка «Таврина»"
VIAddVersionKey /LANG=${LANG_RUSSIAN} "FileVersion" "${VERSION}"
VIAddVersionKey /LANG=${LANG_RUSSIAN} "LegalCopyright" "Авторы «Таврина», GPL-3.0-or-later"

; A program that runs keeps its file.
!macro REFUSE_WHILE_RUNNING
  ClearErrors
  ${If} ${FileExists} "$INSTDIR\Tavrin.exe"
    FileOpen $0 "$INSTDIR\Tavrin.exe" a
    ${If} ${Errors}
      MessageBox MB_OK|MB_ICONEXCLAMATION "Закройте «Таврин» и повторите." /SD IDOK
      SetErrorLevel 2
      Quit
    ${EndIf}
    FileClose $0
  ${EndIf}
!macroend

Section
  !insertmacro REFUSE_WHILE_RUNNING
  SetOutPath "$INSTDIR"
  File /r /x Tavrin.txt "${STAGE}\*"
  ; The list of scene types is there to be edited: an edited one stays.
  SetOverwrite off
  File "${STAGE}\Tavrin.txt"
  SetOverwrite on
  WriteUninstaller "$INSTDIR\Uninstall.exe"
  CreateShortcut "$SMPROGRAMS\Таврин.lnk" "$INSTDIR\Tavrin.exe"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayName" "Таврин"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\Tavrin.exe"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "Publisher" "Авторы «Таврина»"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\Uninstall.exe"'
  WriteRegStr HKCU "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\Uninstall.exe" /S'
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "EstimatedSize" ${KILOBYTES}
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoRepair" 1
SectionEnd

; Only what was installed: a user may have put films into the folder.
Section "Uninstall"
  !insertmacro REFUSE_WHILE_RUNNING
  !include "${REMOVALS}"
  Delete "$INSTDIR\Uninstall.exe"
  RMDir "$INSTDIR"
  RMDir "$LOCALAPPDATA\Programs" ; where it is empty
  Delete "$SMPROGRAMS\Таврин.lnk"
  DeleteRegKey HKCU "${UNINSTALL_KEY}"
  DeleteRegKey /ifempty HKCU "Software\Microsoft\Windows\CurrentVersion\Uninstall"
SectionEnd
