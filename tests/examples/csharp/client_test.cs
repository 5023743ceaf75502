// The example's client over a stand-in for wpk.dll, with the garbage collector at work.
using System;
using System.Linq;
using System.Reflection;
using System.Runtime.InteropServices;
using System.Text;
using System.Threading;
using System.Threading.Tasks;
using Wpk;

static class ClientTest
{
    [DllImport("wpk.dll")]
    static extern void Scripted_Answer(int now);

    [DllImport("wpk.dll")]
    static extern void Scripted_AwaitWaiting(int count);

    static int failed;

    static Task<byte[]> Send(string service, string message, CancellationToken cancellation = default(CancellationToken))
    {
        return Client.SendAsync("server", 80, service, Encoding.UTF8.GetBytes(message), cancellation);
    }

    static void Expect(bool condition, string what)
    {
        if (!condition) throw new Exception("not so: " + what);
    }

    static void Collect()
    {
        for (var i = 0; i < 3; ++i)
        {
            GC.Collect();
            GC.WaitForPendingFinalizers();
        }
    }

    static T Catch<T>(Task task) where T : Exception
    {
        try
        {
            task.GetAwaiter().GetResult();
        }
        catch (T problem)
        {
            return problem;
        }
        throw new Exception("no " + typeof(T).Name);
    }

    // Some compilers keep delegates in fields of their own, so a crash is not what tells.
    static void DelegatesAreHeldByStaticFields()
    {
        foreach (var owner in new[] { typeof(Client), typeof(Request) })
        {
            var held = owner.GetFields(BindingFlags.Static | BindingFlags.NonPublic)
                .Where(field => field.FieldType == typeof(Callback) && !field.Name.StartsWith("<")).ToArray();
            Expect(held.Length == 1 && held[0].IsInitOnly && held[0].GetValue(null) != null, owner.Name);
        }
    }

    static void RepliesArriveAfterCollections()
    {
        Scripted_Answer(0);
        var replies = Enumerable.Range(0, 50).Select(number => Send("Echo", "message " + number)).ToArray();
        Scripted_AwaitWaiting(50);
        Collect();
        var rubbish = Enumerable.Range(0, 1000).Select(number => new byte[1000]).ToArray();
        Collect();
        Scripted_Answer(1);
        for (var i = 0; i < replies.Length; ++i)
            Expect(Encoding.UTF8.GetString(replies[i].Result) == "message " + i, "the reply to message " + i);
        GC.KeepAlive(rubbish);
    }

    static void EmptyMessageHasAnEmptyReply()
    {
        Expect(Send("Echo", "").Result.Length == 0, "an empty reply");
    }

    static void FailureHasItsCode()
    {
        var problem = Catch<WpkException>(Send("Fail", "-6"));
        Expect(problem.Code == -6 && problem.Message == "The server has no service of that name.", problem.Message);
    }

    static void RefusedMessageIsAFailure()
    {
        Expect(Catch<WpkException>(Send("Refused", "x")).Code == 0, "no code");
    }

    static void CancelledTokenEndsTheTask()
    {
        using (var cancellation = new CancellationTokenSource())
        {
            var sleeping = Send("Sleep", "x", cancellation.Token);
            Scripted_AwaitWaiting(1);
            Collect();
            cancellation.Cancel();
            Catch<OperationCanceledException>(sleeping);
            Expect(sleeping.IsCanceled, "the task counts as cancelled");
        }
    }

    static void CancelAfterTheEndChangesNothing()
    {
        using (var cancellation = new CancellationTokenSource())
        {
            var reply = Send("Echo", "x", cancellation.Token);
            Expect(reply.Result.Length == 1, "a reply");
            cancellation.Cancel();
            Expect(!reply.IsCanceled, "the task stays as it was");
        }
    }

    static void TokenThatIsCancelledSendsNothing()
    {
        Catch<OperationCanceledException>(Send("Refused", "x", new CancellationToken(canceled: true)));
    }

    static void Check(Action test)
    {
        try
        {
            test();
            Console.WriteLine("[       OK ] " + test.Method.Name);
        }
        catch (Exception problem)
        {
            Console.WriteLine("[  FAILED  ] " + test.Method.Name + ": " + problem);
            ++failed;
        }
    }

    static int Main()
    {
        Client.Initialise();
        var tests = new Action[] { DelegatesAreHeldByStaticFields, RepliesArriveAfterCollections,
                                   EmptyMessageHasAnEmptyReply, FailureHasItsCode, RefusedMessageIsAFailure,
                                   CancelledTokenEndsTheTask, CancelAfterTheEndChangesNothing,
                                   TokenThatIsCancelledSendsNothing };
        foreach (var test in tests) Check(test);
        if (failed < tests.Length) Console.WriteLine("[  PASSED  ] {0} tests.", tests.Length - failed);
        if (failed > 0) Console.WriteLine("[  FAILED  ] {0} tests.", failed);
        return failed > 0 ? 1 : 0;
    }
}
