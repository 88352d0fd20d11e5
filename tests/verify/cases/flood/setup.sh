{
    echo '<config><initStep>late</initStep><dependencies>'
    for i in $(seq 20000); do echo "<dependency>m$i</dependency>"; done
    echo '</dependencies></config>'
} > etc/JovApplication/module/a/config.xml
