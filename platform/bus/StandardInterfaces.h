#ifndef STANDARD_INTERFACES_H
#define STANDARD_INTERFACES_H

/// What every object offers, as XML: the head of a description, and the interfaces that the bus's own rules define.
namespace StandardInterfaces {

inline constexpr char introspectionHead[] =
    "<!DOCTYPE node PUBLIC \"-//freedesktop//DTD D-BUS Object Introspection 1.0//EN\"\n"
    "\"http://www.freedesktop.org/standards/dbus/1.0/introspect.dtd\">\n";

inline constexpr char properties[] = "  <interface name=\"org.freedesktop.DBus.Properties\">\n"
                                     "    <method name=\"Get\">\n"
                                     "      <arg name=\"interface_name\" type=\"s\" direction=\"in\"/>\n"
                                     "      <arg name=\"property_name\" type=\"s\" direction=\"in\"/>\n"
                                     "      <arg name=\"value\" type=\"v\" direction=\"out\"/>\n"
                                     "    </method>\n"
                                     "    <method name=\"Set\">\n"
                                     "      <arg name=\"interface_name\" type=\"s\" direction=\"in\"/>\n"
                                     "      <arg name=\"property_name\" type=\"s\" direction=\"in\"/>\n"
                                     "      <arg name=\"value\" type=\"v\" direction=\"in\"/>\n"
                                     "    </method>\n"
                                     "    <method name=\"GetAll\">\n"
                                     "      <arg name=\"interface_name\" type=\"s\" direction=\"in\"/>\n"
                                     "      <arg name=\"values\" type=\"a{sv}\" direction=\"out\"/>\n"
                                     "    </method>\n"
                                     "  </interface>\n";

inline constexpr char introspectable[] = "  <interface name=\"org.freedesktop.DBus.Introspectable\">\n"
                                         "    <method name=\"Introspect\">\n"
                                         "      <arg name=\"xml_data\" type=\"s\" direction=\"out\"/>\n"
                                         "    </method>\n"
                                         "  </interface>\n";

inline constexpr char peer[] = "  <interface name=\"org.freedesktop.DBus.Peer\">\n"
                               "    <method name=\"Ping\"/>\n"
                               "    <method name=\"GetMachineId\">\n"
                               "      <arg name=\"machine_uuid\" type=\"s\" direction=\"out\"/>\n"
                               "    </method>\n"
                               "  </interface>\n";

} // namespace StandardInterfaces

#endif
