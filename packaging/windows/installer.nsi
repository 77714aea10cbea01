; The installer that a player downloads: per user, without administrator rights.
; Made by packaging/windows/make-release, which defines VERSION, VERSION_NUMBERS, FILES_TO_INSTALL
; and FILES_TO_DELETE (lists of commands), OUTPUT, ICON and SIDE_PICTURE.

Target amd64-unicode
Unicode true
SetCompressor /SOLID lzma
RequestExecutionLevel user
ManifestDPIAware true
ManifestLongPathAware true
ManifestSupportedOS Win10

!include "FileFunc.nsh"
!include "LogicLib.nsh"
!include "MUI2.nsh"

!define NAME "Vornak Launcher"
!define PROGRAM "vornak-launcher.exe"
!define STARTER "vornak-start.exe"
!define UNINSTALLER "uninstall.exe"
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\VornakLauncher"
; Why the installer or uninstaller ended, for whoever runs it with /S.
!define EXIT_STILL_RUNNING 3

Name "${NAME}"
OutFile "${OUTPUT}"
BrandingText "${NAME} ${VERSION}"
InstallDir "$LOCALAPPDATA\Programs\${NAME}"
; An update goes where the program is.
InstallDirRegKey HKCU "${UNINSTALL_KEY}" "InstallLocation"
ShowInstDetails nevershow
ShowUninstDetails nevershow

VIProductVersion "${VERSION_NUMBERS}"
VIFileVersion "${VERSION_NUMBERS}"
VIAddVersionKey "CompanyName" "Vornak"
VIAddVersionKey "FileDescription" "${NAME} setup"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "ProductName" "${NAME}"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "LegalCopyright" "Vornak"

!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_WELCOMEFINISHPAGE_BITMAP "${SIDE_PICTURE}"
!define MUI_ABORTWARNING
!define MUI_COMPONENTSPAGE_NODESC
!define MUI_FINISHPAGE_RUN "$INSTDIR\${STARTER}"
!define MUI_FINISHPAGE_RUN_TEXT "Start the launcher now"
!insertmacro MUI_PAGE_COMPONENTS
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

!ifdef SIGN
    !finalize '"${SIGN}" "%1"' = 0
    !uninstfinalize '"${SIGN}" "%1"' = 0
!endif

; A program that runs can be read and not written. The launcher also runs, unseen, while the game
; does.
!macro WaitUntilClosed un
Function ${un}WaitUntilClosed
    ${Do}
        ${IfNot} ${FileExists} "$INSTDIR\${PROGRAM}"
            ${ExitDo}
        ${EndIf}
        ClearErrors
        FileOpen $0 "$INSTDIR\${PROGRAM}" a
        ${IfNot} ${Errors}
            FileClose $0
            ${ExitDo}
        ${EndIf}
        ${If} ${Cmd} `MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "The launcher or the game is still running. Please close both, then choose Retry." /SD IDCANCEL IDCANCEL`
            SetErrorLevel ${EXIT_STILL_RUNNING}
            Quit
        ${EndIf}
    ${Loop}
FunctionEnd
!macroend
!insertmacro WaitUntilClosed ""
!insertmacro WaitUntilClosed "un."

; What the launcher leaves beside the program when it replaces itself.
!macro RemoveLeftovers
    Delete "$INSTDIR\package.json.version"
    Delete "$INSTDIR\*.vornak-old*"
    Delete "$INSTDIR\*.vornak-new*"
!macroend

Section "Launcher" launcher
    SectionIn RO
    Call WaitUntilClosed
    SetShellVarContext current
    SetOutPath "$INSTDIR"
    !insertmacro RemoveLeftovers
    !include "${FILES_TO_INSTALL}"
    SetOutPath "$INSTDIR"
    WriteUninstaller "$INSTDIR\${UNINSTALLER}"

    CreateShortCut "$SMPROGRAMS\${NAME}.lnk" "$INSTDIR\${STARTER}" "" "$INSTDIR\${PROGRAM}" 0

    WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayName" "${NAME}"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "Publisher" "Vornak"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\${PROGRAM},0"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\${UNINSTALLER}"'
    WriteRegStr HKCU "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\${UNINSTALLER}" /S'
    WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoModify" 1
    WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoRepair" 1
    ${GetSize} "$INSTDIR" "/S=0K" $0 $1 $2
    WriteRegDWORD HKCU "${UNINSTALL_KEY}" "EstimatedSize" $0
SectionEnd

Section /o "Desktop entry" desktop
    SetShellVarContext current
    CreateShortCut "$DESKTOP\${NAME}.lnk" "$INSTDIR\${STARTER}" "" "$INSTDIR\${PROGRAM}" 0
SectionEnd

Function .onInit
    ; An update keeps the desktop entry that is there.
    ${If} ${FileExists} "$DESKTOP\${NAME}.lnk"
        !insertmacro SelectSection ${desktop}
    ${EndIf}
    ; For whoever installs without looking: /DESKTOP asks for the entry.
    ${GetParameters} $0
    ClearErrors
    ${GetOptions} $0 "/DESKTOP" $1
    ${IfNot} ${Errors}
        !insertmacro SelectSection ${desktop}
    ${EndIf}
FunctionEnd

Section "Uninstall"
    Call un.WaitUntilClosed
    SetShellVarContext current
    !insertmacro RemoveLeftovers
    !include "${FILES_TO_DELETE}"
    Delete "$INSTDIR\${UNINSTALLER}"
    RMDir "$INSTDIR"
    Delete "$SMPROGRAMS\${NAME}.lnk"
    Delete "$DESKTOP\${NAME}.lnk"
    DeleteRegKey HKCU "${UNINSTALL_KEY}"
    ; The game looks there for the launcher.
    Delete "$LOCALAPPDATA\Vornak\launcher.path"
    RMDir "$LOCALAPPDATA\Vornak"

    ${If} ${FileExists} "$APPDATA\Vornak\Launcher\*.*"
    ${AndIf} ${Cmd} `MessageBox MB_YESNO|MB_ICONQUESTION|MB_DEFBUTTON2 "Remove the downloaded game and the launcher's settings as well?" /SD IDNO IDYES`
        RMDir /r "$APPDATA\Vornak\Launcher"
        RMDir "$APPDATA\Vornak"
        DeleteRegKey HKCU "Software\Vornak\Launcher"
        DeleteRegKey /ifempty HKCU "Software\Vornak"
    ${EndIf}
SectionEnd
