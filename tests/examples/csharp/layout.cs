// Prints the records of the example in C#: each field's place, as its marshaller sees it.
using System;
using System.Reflection;
using System.Runtime.InteropServices;
using Wpk;

static class Layout
{
    static void Main()
    {
        foreach (var record in new[] { typeof(WPK_INITSTRUCT), typeof(WPK_SENDSTRUCT), typeof(Head), typeof(Failure),
                                       typeof(Progress), typeof(Reply), typeof(Connection), typeof(Credentials) })
        {
            Console.WriteLine("{0} has {1} bytes", record.Name, Marshal.SizeOf(record));
            foreach (var field in record.GetFields(BindingFlags.Instance | BindingFlags.Public))
                Console.WriteLine("{0}.{1} {2}", record.Name, field.Name, Marshal.OffsetOf(record, field.Name));
        }
    }
}
