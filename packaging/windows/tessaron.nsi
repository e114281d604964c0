; The Windows installer of Tessaron (NSIS 3, Unicode). Built by the Windows build's
; target "installer" (make windows-installer), which passes:
;   /DVERSION=x.y.z     the program's version
;   /DBUILD=<folder>    the folder holding tessaron.exe, tessaron.com and tessaron.chm
;   /DMANUAL=<folder>   the HTML manual
;   /DFILES=<file>      NSIS lines installing the manual's files (File ...)
;   /DREMOVE=<file>     NSIS lines removing exactly those files (Delete ..., RMDir ...)
;   /DOUTFILE=<path>    the installer to write
; It installs into Program Files for all users, adds a Start menu shortcut, lets a
; double-clicked backup set (.set) open in the main window (/LOAD), and registers an
; uninstaller in Apps & features. The uninstaller removes what was installed and nothing
; else: backup sets, logs (the Log folder) and the user's settings stay. /S installs and
; uninstalls without asking.
; A 64-bit installer for a 64-bit program: it sees the 64-bit registry and Program Files.
Target amd64-unicode
SetCompressor /SOLID lzma
RequestExecutionLevel admin

!include "MUI2.nsh"
!include "LogicLib.nsh"

!define PRODUCT "Tessaron"
!define PUBLISHER "VELQO"
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Tessaron"
!define PROGID "Tessaron.BackupSet"

Name "${PRODUCT} ${VERSION}"
OutFile "${OUTFILE}"
InstallDir "$PROGRAMFILES64\${PRODUCT}"
InstallDirRegKey HKLM "${UNINSTALL_KEY}" "InstallLocation"
BrandingText "${PRODUCT} ${VERSION}"
VIProductVersion "${VERSION}.0"
VIAddVersionKey "ProductName" "${PRODUCT}"
VIAddVersionKey "CompanyName" "${PUBLISHER}"
VIAddVersionKey "FileDescription" "${PRODUCT} setup"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "LegalCopyright" "${PUBLISHER}"

!define MUI_FINISHPAGE_RUN "$INSTDIR\tessaron.exe"
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

Function .onInit
  SetShellVarContext all
FunctionEnd

Function un.onInit
  SetShellVarContext all
FunctionEnd

Section "Tessaron"
  SetOutPath "$INSTDIR"
  File "${BUILD}/tessaron.exe"
  File "${BUILD}/tessaron.com"
  File /nonfatal "${BUILD}/tessaron.chm"
  !include "${FILES}"
  WriteUninstaller "$INSTDIR\uninstall.exe"

  CreateShortcut "$SMPROGRAMS\${PRODUCT}.lnk" "$INSTDIR\tessaron.exe" "" "$INSTDIR\tessaron.exe" 0

  ; A double-clicked backup set opens in the main window. .set is a common extension:
  ; Tessaron becomes its program only where no other program has it.
  WriteRegStr HKLM "Software\Classes\${PROGID}" "" "Tessaron Backup Set"
  WriteRegStr HKLM "Software\Classes\${PROGID}\DefaultIcon" "" "$INSTDIR\tessaron.exe,0"
  WriteRegStr HKLM "Software\Classes\${PROGID}\shell\open\command" "" '"$INSTDIR\tessaron.exe" /LOAD "%1"'
  WriteRegStr HKLM "Software\Classes\.set\OpenWithProgids" "${PROGID}" ""
  ReadRegStr $0 HKLM "Software\Classes\.set" ""
  ${If} $0 == ""
    WriteRegStr HKLM "Software\Classes\.set" "" "${PROGID}"
  ${EndIf}
  System::Call 'shell32::SHChangeNotify(i 0x08000000, i 0, p 0, p 0)'

  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayName" "${PRODUCT}"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "Publisher" "${PUBLISHER}"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\tessaron.exe"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKLM "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "NoRepair" 1
SectionEnd

Section "Uninstall"
  Delete "$SMPROGRAMS\${PRODUCT}.lnk"

  DeleteRegKey HKLM "Software\Classes\${PROGID}"
  DeleteRegValue HKLM "Software\Classes\.set\OpenWithProgids" "${PROGID}"
  DeleteRegKey /ifempty HKLM "Software\Classes\.set\OpenWithProgids"
  ReadRegStr $0 HKLM "Software\Classes\.set" ""
  ${If} $0 == "${PROGID}"
    DeleteRegValue HKLM "Software\Classes\.set" ""
  ${EndIf}
  DeleteRegKey /ifempty HKLM "Software\Classes\.set"
  System::Call 'shell32::SHChangeNotify(i 0x08000000, i 0, p 0, p 0)'
  DeleteRegKey HKLM "${UNINSTALL_KEY}"

  Delete "$INSTDIR\tessaron.exe"
  Delete "$INSTDIR\tessaron.com"
  Delete "$INSTDIR\tessaron.chm"
  !include "${REMOVE}"
  Delete "$INSTDIR\uninstall.exe"
  ; Only an empty folder goes: logs, sets or anything else the user left there stay.
  RMDir "$INSTDIR"
SectionEnd
