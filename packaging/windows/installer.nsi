Unicode true
# The installer for Windows, compiled by package.sh, which defines VERSION, STAGE (the folder with what is installed) and OUT,
# and writes files.nsh (all files of STAGE, as macros that install and remove them).
#
#     setup.exe [/S] [/AllUsers] [/PATH] [/ASSOCIATE] [/D=FOLDER]
#     uninstall.exe [/S]
#
# /S is quiet. Without /AllUsers it is for the person alone and asks for no administrator. /D must come last and is not quoted.
# Ends with 2 when a program that is to be replaced or removed is running. What a person has made (settings, presets) lies
# elsewhere and is never touched.

!include MUI2.nsh
!include LogicLib.nsh
!include FileFunc.nsh
!include x64.nsh
!include nsDialogs.nsh
!include "${FILES}"

!define PRODUCT "Velmorant"
!define ENTRY "Software\Microsoft\Windows\CurrentVersion\Uninstall\${PRODUCT}"
!define PROGRAM_ID "Velmorant.Picture"

Name "${PRODUCT} ${VERSION}"
OutFile "${OUT}"
SetCompressor /SOLID lzma
RequestExecutionLevel user   # who wants it for all is asked then
ManifestSupportedOS Win10
ManifestDPIAware true
ShowInstDetails nevershow
ShowUninstDetails nevershow
BrandingText " "
VIProductVersion "${VERSION}.0"
VIAddVersionKey /LANG=1033 "ProductName" "${PRODUCT}"
VIAddVersionKey /LANG=1033 "ProductVersion" "${VERSION}"
VIAddVersionKey /LANG=1033 "FileVersion" "${VERSION}"
VIAddVersionKey /LANG=1033 "FileDescription" "Velmorant: picture editor and effects"
VIAddVersionKey /LANG=1033 "LegalCopyright" "${COPYRIGHT}"

!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_ABORTWARNING
!define MUI_FINISHPAGE_RUN "$INSTDIR\velmorant-editor.exe"
!define MUI_FINISHPAGE_NOREBOOTSUPPORT

Var allUsers   # 1: for all who use this computer
Var choiceMe
Var choiceAll

Page custom ForWhomPage ForWhomChosen
!insertmacro MUI_PAGE_COMPONENTS
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

#---- For whom

!macro UseContext
    ${If} $allUsers = 1
        SetShellVarContext all
        ${If} ${RunningX64}
            SetRegView 64
        ${EndIf}
    ${Else}
        SetShellVarContext current
    ${EndIf}
!macroend

Function UsualFolder
    ${If} $allUsers = 1
        ${If} ${RunningX64}
            StrCpy $INSTDIR "$PROGRAMFILES64\${PRODUCT}"
        ${Else}
            StrCpy $INSTDIR "$PROGRAMFILES\${PRODUCT}"
        ${EndIf}
    ${Else}
        StrCpy $INSTDIR "$LOCALAPPDATA\Programs\${PRODUCT}"
    ${EndIf}
    # Where it is already it stays.
    ReadRegStr $0 SHCTX "${ENTRY}" "InstallLocation"
    ${If} $0 != ""
        StrCpy $INSTDIR $0
    ${EndIf}
FunctionEnd

Function ForWhomPage
    !insertmacro MUI_HEADER_TEXT "For whom?" "Only for you nothing but your own folders is changed."
    nsDialogs::Create 1018
    Pop $0
    ${NSD_CreateRadioButton} 0 10u 100% 12u "Only for &me"
    Pop $choiceMe
    ${NSD_CreateRadioButton} 0 28u 100% 12u "For &all who use this computer (Windows asks for an administrator)"
    Pop $choiceAll
    ${If} $allUsers = 1
        ${NSD_Check} $choiceAll
    ${Else}
        ${NSD_Check} $choiceMe
    ${EndIf}
    nsDialogs::Show
FunctionEnd

Function ForWhomChosen
    ${NSD_GetState} $choiceAll $0
    ${If} $0 = ${BST_CHECKED}
        UserInfo::GetAccountType
        Pop $1
        ${If} $1 != "Admin"   # it begins anew, with Windows asking
            ExecShell "runas" "$EXEPATH" "/AllUsers"
            Quit
        ${EndIf}
    ${EndIf}
    ${If} $0 != $allUsers
        StrCpy $allUsers $0
        !insertmacro UseContext
        Call UsualFolder
    ${EndIf}
FunctionEnd

#---- Programs that run

# A program's file cannot be written to while it runs.
!macro WaitUntilClosed FILE
    ${Do}
        ${IfNot} ${FileExists} "$INSTDIR\${FILE}"
            ${ExitDo}
        ${EndIf}
        ClearErrors
        FileOpen $0 "$INSTDIR\${FILE}" a
        ${IfNot} ${Errors}
            FileClose $0
            ${ExitDo}
        ${EndIf}
        ${If} ${Cmd} `MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "$INSTDIR\${FILE} is in use. Please close it, then go on." /SD IDCANCEL IDCANCEL`
            SetErrorLevel 2
            Quit
        ${EndIf}
    ${Loop}
!macroend

!macro WaitUntilAllClosed
    !insertmacro WaitUntilClosed "velmorant-editor.exe"
    !insertmacro WaitUntilClosed "velmorant.exe"
    !insertmacro WaitUntilClosed "VLMEFF.dll"
    !insertmacro WaitUntilClosed "command\velmorant.exe"
    !insertmacro WaitUntilClosed "command\velmorant.dll"
!macroend

#---- The search path of commands

!macro PathRoutines UN
Function ${UN}ChangePath
    # $R1: 1 to add, 0 to take away. Longer than a text may be here it is left alone: what was cut off would be lost.
    ${If} $allUsers = 1
        StrCpy $R2 "SYSTEM\CurrentControlSet\Control\Session Manager\Environment"
        StrCpy $R3 0x80000002
    ${Else}
        StrCpy $R2 "Environment"
        StrCpy $R3 0x80000001
    ${EndIf}
    System::Call 'advapi32::RegGetValueW(p R3, w R2, w "Path", i 0x1000FFFF, p 0, p 0, *i .R4) i .R5'
    ${If} $R5 = 0
    ${AndIf} $R4 > 1600   # bytes, two a letter
        DetailPrint "PATH is long and is left as it is."
        ${If} $R1 = 1
            MessageBox MB_OK|MB_ICONINFORMATION "The search path is too long to be changed safely. To use velmorant in every command window, add this folder to it: $INSTDIR\command" /SD IDOK
        ${EndIf}
        Return
    ${EndIf}
    StrCpy $R6 ""
    ${If} $R5 = 0
        ${If} $allUsers = 1
            ReadRegStr $R6 HKLM "$R2" "Path"
        ${Else}
            ReadRegStr $R6 HKCU "$R2" "Path"
        ${EndIf}
    ${EndIf}
    # Each folder in turn; ours is left out and, where it is to be added, comes last.
    StrCpy $R7 ""
    ${DoWhile} $R6 != ""
        StrCpy $R8 0
        ${Do}
            StrCpy $R9 $R6 1 $R8
            ${If} $R9 == ""
            ${OrIf} $R9 == ";"
                ${ExitDo}
            ${EndIf}
            IntOp $R8 $R8 + 1
        ${Loop}
        StrCpy $R9 $R6 $R8
        IntOp $R8 $R8 + 1
        StrCpy $R6 $R6 "" $R8
        ${If} $R9 != ""
        ${AndIf} $R9 != "$INSTDIR\command"
            ${If} $R7 != ""
                StrCpy $R7 "$R7;"
            ${EndIf}
            StrCpy $R7 "$R7$R9"
        ${EndIf}
    ${Loop}
    ${If} $R1 = 1
        ${If} $R7 != ""
            StrCpy $R7 "$R7;"
        ${EndIf}
        StrCpy $R7 "$R7$INSTDIR\command"
    ${EndIf}
    ${If} $R7 == ""
        ${If} $allUsers = 0
            DeleteRegValue HKCU "$R2" "Path"
        ${EndIf}
    ${ElseIf} $allUsers = 1
        WriteRegExpandStr HKLM "$R2" "Path" "$R7"
    ${Else}
        WriteRegExpandStr HKCU "$R2" "Path" "$R7"
    ${EndIf}
    SendMessage ${HWND_BROADCAST} ${WM_SETTINGCHANGE} 0 "STR:Environment" /TIMEOUT=2000
FunctionEnd
!macroend
!insertmacro PathRoutines ""
!insertmacro PathRoutines "un."

#---- What is installed

!macro ForEachEnding ACTION
    !insertmacro ${ACTION} .bmp
    !insertmacro ${ACTION} .gif
    !insertmacro ${ACTION} .jpeg
    !insertmacro ${ACTION} .jpg
    !insertmacro ${ACTION} .pbm
    !insertmacro ${ACTION} .pgm
    !insertmacro ${ACTION} .png
    !insertmacro ${ACTION} .pnm
    !insertmacro ${ACTION} .ppm
    !insertmacro ${ACTION} .tif
    !insertmacro ${ACTION} .tiff
    !insertmacro ${ACTION} .webp
!macroend
# Offered beside other programs: whichever opens such files today goes on doing so.
!macro Associate ENDING
    WriteRegStr SHCTX "Software\Classes\${ENDING}\OpenWithProgids" "${PROGRAM_ID}" ""
!macroend
!macro Dissociate ENDING
    DeleteRegValue SHCTX "Software\Classes\${ENDING}\OpenWithProgids" "${PROGRAM_ID}"
    DeleteRegKey /ifempty SHCTX "Software\Classes\${ENDING}\OpenWithProgids"
    DeleteRegKey /ifempty SHCTX "Software\Classes\${ENDING}"
!macroend

Section "Programs and pages" SECTION_PROGRAMS
    SectionIn RO
    !insertmacro WaitUntilAllClosed
    # What an older number had and this one has not goes with it.
    ReadRegStr $0 SHCTX "${ENTRY}" "InstallLocation"
    ${If} $0 != ""
    ${AndIf} ${FileExists} "$0\uninstall.exe"
        ExecWait '"$0\uninstall.exe" /S _?=$0' $1
        ${If} $1 = 2   # a program there is running
            SetErrorLevel 2
            Quit
        ${EndIf}
        Delete "$0\uninstall.exe"
        RMDir "$0"
    ${EndIf}

    SetOverwrite on
    ClearErrors
    !insertmacro InstallFiles
    ${If} ${Errors}
        MessageBox MB_OK|MB_ICONSTOP "Not all files could be written to $INSTDIR." /SD IDOK
        SetErrorLevel 3
        Quit
    ${EndIf}
    WriteUninstaller "$INSTDIR\uninstall.exe"

    WriteRegStr SHCTX "${ENTRY}" "DisplayName" "${PRODUCT}"
    WriteRegStr SHCTX "${ENTRY}" "DisplayVersion" "${VERSION}"
    WriteRegStr SHCTX "${ENTRY}" "DisplayIcon" "$INSTDIR\velmorant-editor.exe"
    WriteRegStr SHCTX "${ENTRY}" "InstallLocation" "$INSTDIR"
    WriteRegStr SHCTX "${ENTRY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
    WriteRegStr SHCTX "${ENTRY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
    WriteRegDWORD SHCTX "${ENTRY}" "AllUsers" $allUsers
    WriteRegDWORD SHCTX "${ENTRY}" "EstimatedSize" ${KILOBYTES}
    WriteRegDWORD SHCTX "${ENTRY}" "NoModify" 1
    WriteRegDWORD SHCTX "${ENTRY}" "NoRepair" 1
SectionEnd

Section "Start menu"
    CreateDirectory "$SMPROGRAMS\${PRODUCT}"
    SetOutPath "$INSTDIR"
    CreateShortCut "$SMPROGRAMS\${PRODUCT}\Velmorant editor.lnk" "$INSTDIR\velmorant-editor.exe"
    CreateShortCut "$SMPROGRAMS\${PRODUCT}\Velmorant pages.lnk" "$INSTDIR\pages\README.html"
SectionEnd

Section /o "Offer the editor for pictures" SECTION_ASSOCIATE
    WriteRegStr SHCTX "Software\Classes\${PROGRAM_ID}" "" "Picture"
    WriteRegStr SHCTX "Software\Classes\${PROGRAM_ID}" "FriendlyTypeName" "Picture"
    WriteRegStr SHCTX "Software\Classes\${PROGRAM_ID}\DefaultIcon" "" "$INSTDIR\velmorant-editor.exe,0"
    WriteRegStr SHCTX "Software\Classes\${PROGRAM_ID}\shell\open\command" "" '"$INSTDIR\velmorant-editor.exe" "%1"'
    !insertmacro ForEachEnding Associate
    System::Call 'shell32::SHChangeNotify(i 0x08000000, i 0, p 0, p 0)'
SectionEnd

Section /o "velmorant in every command window" SECTION_PATH
    WriteRegDWORD SHCTX "${ENTRY}" "OnPath" 1
    StrCpy $R1 1
    Call ChangePath
SectionEnd

#---- What was asked for, by a line or before

Function .onInit
    StrCpy $allUsers 0
    ${GetParameters} $0
    ClearErrors
    ${GetOptions} $0 "/AllUsers" $1
    ${IfNot} ${Errors}
        StrCpy $allUsers 1
    ${EndIf}
    !insertmacro UseContext
    ${If} $INSTDIR == ""   # no /D
        Call UsualFolder
    ${EndIf}
    # What was chosen before is chosen again.
    ReadRegDWORD $1 SHCTX "${ENTRY}" "OnPath"
    ${If} $1 = 1
        !insertmacro SelectSection ${SECTION_PATH}
    ${EndIf}
    ReadRegStr $1 SHCTX "Software\Classes\${PROGRAM_ID}" ""
    ${If} $1 != ""
        !insertmacro SelectSection ${SECTION_ASSOCIATE}
    ${EndIf}
    ClearErrors
    ${GetOptions} $0 "/PATH" $1
    ${IfNot} ${Errors}
        !insertmacro SelectSection ${SECTION_PATH}
    ${EndIf}
    ClearErrors
    ${GetOptions} $0 "/ASSOCIATE" $1
    ${IfNot} ${Errors}
        !insertmacro SelectSection ${SECTION_ASSOCIATE}
    ${EndIf}
FunctionEnd

#---- Removal

Function un.onInit
    # For whom it was installed stands in the one part of the registry or the other.
    StrCpy $allUsers 0
    ReadRegStr $0 HKCU "${ENTRY}" "InstallLocation"
    ${If} $0 != $INSTDIR
        ${If} ${RunningX64}
            SetRegView 64
        ${EndIf}
        ReadRegStr $0 HKLM "${ENTRY}" "InstallLocation"
        ${If} $0 == $INSTDIR
            UserInfo::GetAccountType
            Pop $1
            ${If} $1 != "Admin"
                ${GetParameters} $2
                ExecShell "runas" "$INSTDIR\uninstall.exe" "$2"
                Quit
            ${EndIf}
            StrCpy $allUsers 1
        ${EndIf}
    ${EndIf}
    !insertmacro UseContext
FunctionEnd

Section "un.Programs"
    !insertmacro WaitUntilAllClosed
    ReadRegDWORD $0 SHCTX "${ENTRY}" "OnPath"
    ${If} $0 = 1
        StrCpy $R1 0
        Call un.ChangePath
    ${EndIf}
    !insertmacro ForEachEnding Dissociate
    DeleteRegKey SHCTX "Software\Classes\${PROGRAM_ID}"
    Delete "$SMPROGRAMS\${PRODUCT}\Velmorant editor.lnk"
    Delete "$SMPROGRAMS\${PRODUCT}\Velmorant pages.lnk"
    RMDir "$SMPROGRAMS\${PRODUCT}"
    SetOutPath "$TEMP"   # else the folder is in use
    !insertmacro RemoveFiles
    Delete "$INSTDIR\uninstall.exe"
    RMDir "$INSTDIR"   # stays when something of the person's is in it
    DeleteRegKey SHCTX "${ENTRY}"
SectionEnd
