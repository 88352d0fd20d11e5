rm etc/JovApplication/module/ApplicationManager/initStep.xml
