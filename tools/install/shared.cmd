@echo off
rem What install.cmd, check.cmd and uninstall.cmd have in common. They call this file with the name
rem of one of the parts below:
rem
rem   names                        sets the names that all of them use
rem   elevated                     0 if this prompt may change the system, 1 if not
rem   compare KEY VALUE VARIABLE   0 if the registry holds the text of the variable, 1 if not; in it |
rem                                stands for a quote, which would end those around it. stored is
rem                                what the registry holds, undefined for nothing
rem   has KEY VALUE TEXT           0 if the value's line in the registry has the text, 1 if not
rem   show TEXT VARIABLE           prints the text and what the variable holds, whatever it is
rem   registered                   sets executable to the program that stored names
rem   linked                       0 if link, the data folder or the one above it, leads elsewhere
rem   rights                       0 if only SYSTEM and the administrators may use the data folder
rem   in_use                       0 while a program runs from the file in executable, 1 if none does
rem   pause                        waits about a second
rem
rem Wine's command interpreter knows less than that of Windows. For it conditions stand in one line
rem each, without else, no expanded path stands outside of quotes in a line that has a condition, and
rem the parts tell 0 and 1 alone: every other result of another file becomes 1.
goto %1

:names
set "service=VelmoraTarnwickService"
set "display_name=Velmora Tarnwick Service"
set "description=Keeps the components of the Tarnwick controller library alive."
set "service_key=HKLM\SYSTEM\CurrentControlSet\Services\%service%"
set "source_key=HKLM\SYSTEM\CurrentControlSet\Services\EventLog\Application\%service%"
set "scratch_key=HKCU\Software\%service%-scripts-%RANDOM%"
rem By their full paths, as the interpreter would look in the current folder first.
for %%t in (cacls find icacls ping reg sc) do set "%%t=%SystemRoot%\System32\%%t.exe"
set "executable=%~dp0tarnwick-service.exe"
set "controller=%~dp0orrin-ctrl.dll"
set "messages=%~dp0tarnwick-messages.dll"
rem The service's path is in quotes: without them a path with a blank could start another program.
set "image_path=|%executable%|"
set "settings=TraceLevelsMask ExpiredPeriodInDays MaxLogFilesSize DisableLogRetention DumpType"
set "default_TraceLevelsMask=7"
set "default_ExpiredPeriodInDays=70"
set "default_MaxLogFilesSize=26214400"
set "default_DisableLogRetention=0"
set "default_DumpType=0"
rem A restart after 5 s, then 30 s, then 2 min; counted anew after a day without a failure. The third
rem form is the end of what the service manager stores for it.
set "recovery_reset=86400"
set "recovery_actions=restart/5000/restart/30000/restart/120000"
set "recovery_stored=0100000088130000010000003075000001000000C0D40100"
rem By identifier, as the names of SYSTEM and of the administrators are translated.
set "system_sid=*S-1-5-18"
set "administrators_sid=*S-1-5-32-544"
rem Under Wine a service has another machine-wide data folder than a console, and some tools have no
rem effect; what depends on them is told as not done or not checked.
set "data_parent=%ALLUSERSPROFILE%\Velmora"
set "wine="
if exist "%SystemRoot%\System32\winecfg.exe" set "wine=yes"
if defined wine set "data_parent=%PUBLIC%\Velmora"
set "data=%data_parent%\Quillon"
exit /b 0

:elevated
if defined wine exit /b 0
rem Only an elevated prompt may look into the settings of another account.
%reg% query HKU\S-1-5-19 >nul 2>&1
if errorlevel 1 exit /b 1
exit /b 0

:compare
set "stored="
%reg% query "%~2" /v %3 >nul 2>&1
if errorlevel 1 exit /b 1
for /f "tokens=2,*" %%a in ('%reg% query "%~2" /v %3') do set "stored=%%b"
if not defined stored exit /b 1
rem What a program writes into a pipe has lost the letters that the code page lacks. So the wanted text
rem takes the same road, through a key of the user's own.
call set "wanted=%%%4%%"
%reg% add "%scratch_key%" /v Wanted /d "%wanted%" /f >nul
for /f "tokens=2,*" %%a in ('%reg% query "%scratch_key%" /v Wanted') do set "wanted=%%b"
%reg% delete "%scratch_key%" /f >nul
if /i "%stored:"=|%"=="%wanted%" exit /b 0
exit /b 1

:has
%reg% query "%~2" /v %3 >nul 2>&1
if errorlevel 1 exit /b 1
%reg% query "%~2" /v %3 | %find% "%~4" >nul
if errorlevel 1 exit /b 1
exit /b 0

:show
rem What is put in by delayed expansion is not searched for commands.
setlocal EnableDelayedExpansion
echo %~2!%3!
exit /b 0

:registered
rem Arguments can stand behind the program; where it has no quotes it ends with .exe.
set "program=%stored:"=|%"
if not "%program:~0,1%"=="|" set "program=%program:.exe=.exe|%"
for /f "delims=|" %%e in ("%program%") do set "executable=%%e"
rem Variables of the system can be part of it; Wine's interpreter has put them in already. If the
rem code page lacks a letter of it, nothing is found there, and only the service's state is left.
if not exist "%executable%" call set "executable=%executable%"
exit /b 0

:linked
set "link="
rem The attributes of a reparse point have an l.
for %%d in ("%data%" "%data_parent%") do call :note_link "%%~d" "%%~ad"
if defined link exit /b 0
exit /b 1

:note_link
for /f "tokens=2 delims=l" %%a in ("-%~2-") do set "link=%~1"
exit /b 0

:rights
set "acl="
for /f "delims=" %%a in ('%cacls% "%data%" /S') do set "acl=%%a"
if not defined acl exit /b 1
rem PATH "D:PAI(...)(...)": P says that nothing is inherited; nothing may be left without the two.
set "acl=%acl:"=%"
set "acl=%acl:*D:P=D:P%"
set "acl=%acl:(A;OICI;FA;;;SY)=+%"
set "acl=%acl:(A;OICI;FA;;;BA)=+%"
if "%acl%"=="D:PAI++" exit /b 0
if "%acl%"=="D:P++" exit /b 0
exit /b 1

:in_use
rem The system opens no file for writing from which a program runs; then the call is left out. One
rem that is gone would be made.
if not exist "%executable%" exit /b 1
set "in_use=yes"
call :open_for_writing 2>nul
if defined in_use exit /b 0
exit /b 1

:open_for_writing
call :opened >>"%executable%"
exit /b 0

:opened
set "in_use="
exit /b 0

:pause
%ping% -n 2 127.0.0.1 >nul 2>&1
exit /b 0
